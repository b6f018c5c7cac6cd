// Who may touch m_dwLastError and m_sLastError. From the moment a transfer is connected until its worker has
// ended they are the worker's; before and after they are the host thread's. (A worker that finds no pipe to
// open stores that too, but only after the host has given up the pipe, and waits for it.)
#pragma once

#include "interface/FtpContext.h"

// Forget the last failure, unless a worker exists: what it leaves is kept for the host to fetch.
void ClearLastError(FtpContext& FC);

// Store a failure of the host thread's own, unless the fields are a running worker's.
void StoreLastError(FtpContext& FC, std::uint32_t dwLastError, const std::wstring& sLastError);

// Take over what a catalogue manager has failed with.
template <typename Manager> void TakeLastError(FtpContext& FC, const Manager& manager)
{
    FC.m_dwLastError = manager.m_dwLastError;
    FC.m_sLastError = manager.m_sLastError;
}

// The last failure; 0 and empty as long as a worker runs.
std::uint32_t LastErrorCode(const FtpContext& FC);
std::wstring LastErrorText(const FtpContext& FC);
