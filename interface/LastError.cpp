#include "interface/LastError.h"

namespace {

bool WorkerRuns(const FtpContext& FC)
{
    return (FC.m_bSendData || FC.m_bGetData) && FC.m_hThread != nullptr &&
           WaitForSingleObject(FC.m_hThread, 0) == WAIT_TIMEOUT;
}

} // namespace

void ClearLastError(FtpContext& FC)
{
    if (FC.m_hThread == nullptr)
    {
        FC.m_dwLastError = ERROR_SUCCESS;
        FC.m_sLastError.clear();
    }
}

void StoreLastError(FtpContext& FC, std::uint32_t dwLastError, const std::wstring& sLastError)
{
    if (!WorkerRuns(FC))
    {
        FC.m_dwLastError = dwLastError;
        FC.m_sLastError = sLastError;
    }
}

std::uint32_t LastErrorCode(const FtpContext& FC)
{
    return WorkerRuns(FC) ? std::uint32_t{ERROR_SUCCESS} : FC.m_dwLastError;
}

std::wstring LastErrorText(const FtpContext& FC) { return WorkerRuns(FC) ? std::wstring() : FC.m_sLastError; }
