// Who may touch m_dwLastError and m_sLastError. From the moment a transfer is connected until its worker has
// ended they are the worker's; before and after they are the host thread's.
#pragma once

#include "interface/FtpContext.h"

// Forget the last failure, unless a worker exists: what it leaves is kept for the host to fetch.
void ClearLastError(FtpContext& FC);

// Store a failure of the host thread's own, unless the fields are a running worker's.
void SetLastError(FtpContext& FC, std::uint32_t dwLastError, const std::wstring& sLastError);

// The last failure, 0 and empty while a running worker has not failed yet.
std::uint32_t LastErrorCode(const FtpContext& FC);
std::wstring LastErrorText(const FtpContext& FC);
