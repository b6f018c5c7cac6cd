// Who may touch m_dwLastError and m_sLastError. From the moment a transfer is connected until its worker has
// ended they are the worker's; before and after they are the host thread's. A worker that does not connect
// stores why while the host waits for it, unless the host has given up first (see StoreWorkerError).
#pragma once

#include "interface/FtpContext.h"

// Forget the last failure, but not one of a transfer that is connected: it is kept for the host to fetch.
void ClearLastError(FtpContext& FC);

struct Failure
{
    std::uint32_t dwLastError;
    const wchar_t* sLastError;
};

// Set both fields, whoever owns them. A text that there is no memory for is left out.
void AssignLastError(FtpContext& FC, const Failure& Reason) noexcept;

// Take the failure out of both fields, and put it back. Neither needs memory.
LastError TakeLastError(FtpContext& FC) noexcept;
void PutBackLastError(FtpContext& FC, LastError&& Taken) noexcept;

// Store a failure of the host thread's own, unless the fields are a running worker's.
void StoreLastError(FtpContext& FC, const Failure& Reason) noexcept;

// What the exception being handled is stored as. For catch blocks only.
Failure ExceptionFailure() noexcept;

// Take over what a catalogue manager has failed with.
template <typename Manager> void TakeLastError(FtpContext& FC, const Manager& manager)
{
    FC.m_dwLastError = manager.m_dwLastError;
    FC.m_sLastError = manager.m_sLastError;
}

// The last failure. As long as a worker runs that of the upload that a spacing has ended, else 0 and empty.
std::uint32_t LastErrorCode(const FtpContext& FC);
std::wstring LastErrorText(const FtpContext& FC);
