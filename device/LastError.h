// Who may touch m_dwLastError and m_sLastError. From the moment a transfer is connected until its worker has
// ended they are the worker's; before and after they are the host thread's. A worker that does not connect
// stores why while the host waits for it, unless the host has given up first (see StoreWorkerFailure).
#pragma once

#include "device/Failure.h"
#include "interface/FtpContext.h"

// Whether a worker runs that was connected: then both fields are its own.
bool WorkerRuns(const FtpContext& FC);

// Forget the last failure, but not one of a transfer that is connected: it is kept for the host to fetch.
void ClearLastError(FtpContext& FC);

// Take the failure out of both fields, and put it back. Neither needs memory.
LastError TakeLastError(FtpContext& FC) noexcept;
void PutBackLastError(FtpContext& FC, LastError&& Taken) noexcept;

// Stores a failure of the host's own call, also while a worker runs.
void StoreHostFailure(FtpContext& FC, const Failure& Reason) noexcept;

// The last failure. While a worker runs: that of the host's own call, or 0 and empty.
std::uint32_t LastErrorCode(const FtpContext& FC);
std::wstring LastErrorText(const FtpContext& FC);
