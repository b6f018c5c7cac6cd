#include "device/LastError.h"

#include <utility>

namespace {

bool IsConnected(const FtpContext& FC) { return FC.m_bSendData || FC.m_bGetData; }

// Whether the answer is the failure of the upload that a spacing has ended: while a worker runs the fields are its own,
// and later they may be empty.
bool EndedUploadIsTold(const FtpContext& FC)
{
    return WorkerRuns(FC) || (FC.m_dwLastError == ERROR_SUCCESS && FC.m_EndedUpload.dwCode != ERROR_SUCCESS);
}

} // namespace

bool WorkerRuns(const FtpContext& FC)
{
    return IsConnected(FC) && FC.m_hThread != nullptr && WaitForSingleObject(FC.m_hThread, 0) == WAIT_TIMEOUT;
}

void ClearLastError(FtpContext& FC)
{
    FC.m_EndedUpload = {};
    if (!IsConnected(FC))
        TakeLastError(FC);
}

LastError TakeLastError(FtpContext& FC) noexcept
{
    return {std::exchange(FC.m_dwLastError, ERROR_SUCCESS), std::exchange(FC.m_sLastError, {})};
}

void PutBackLastError(FtpContext& FC, LastError&& Taken) noexcept
{
    FC.m_dwLastError = Taken.dwCode;
    FC.m_sLastError = std::move(Taken.sText);
}

std::uint32_t LastErrorCode(const FtpContext& FC)
{
    return EndedUploadIsTold(FC) ? FC.m_EndedUpload.dwCode : FC.m_dwLastError;
}

std::wstring LastErrorText(const FtpContext& FC)
{
    return EndedUploadIsTold(FC) ? FC.m_EndedUpload.sText : FC.m_sLastError;
}
