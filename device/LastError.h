// Who may touch m_dwLastError and m_sLastError. They are the worker's from the moment a transfer is connected until its
// worker has ended; before and after that they are the host thread's. A worker that does not connect stores why while
// the host waits for it, unless the host has given up first (see StoreWorkerFailure). While they are the worker's, the
// failures of the host's own calls go into m_HostError.
#pragma once

#include "device/Failure.h"
#include "interface/FtpContext.h"

// Whether a connected worker runs: then both fields are its own.
bool WorkerRuns(const FtpContext& FC);

// Forgets the last failure, but not that of a connected transfer: the host may still fetch it.
void ClearLastError(FtpContext& FC);

// Take the failure out of both fields, and put it back. Both work without free memory.
LastError TakeLastError(FtpContext& FC) noexcept;
void PutBackLastError(FtpContext& FC, LastError&& Taken) noexcept;

// Stores a failure of the host's own call, also while a worker runs.
void StoreHostFailure(FtpContext& FC, const Failure& Reason) noexcept;

// The last failure. While a worker runs: that of the host's own call, or 0 and empty.
std::uint32_t LastErrorCode(const FtpContext& FC);
std::wstring LastErrorText(const FtpContext& FC);
