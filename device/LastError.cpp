#include "device/LastError.h"

#include <utility>

namespace {

bool IsConnected(const FtpContext& FC) { return FC.m_bSendData || FC.m_bGetData; }

// Whether the host gets the failure of its own call: while a worker runs, the two fields are the worker's, and after
// that they may be empty.
bool ReportsHostError(const FtpContext& FC)
{
    return WorkerRuns(FC) ||
           (FC.m_dwLastError == ERROR_SUCCESS && FC.m_HostError.m_dwLastError != ERROR_SUCCESS);
}

} // namespace

bool WorkerRuns(const FtpContext& FC)
{
    return IsConnected(FC) && FC.m_hThread != nullptr && WaitForSingleObject(FC.m_hThread, 0) == WAIT_TIMEOUT;
}

void ClearLastError(FtpContext& FC)
{
    FC.m_HostError = {};
    if (!IsConnected(FC))
        TakeLastError(FC);
}

LastError TakeLastError(FtpContext& FC) noexcept
{
    return {std::exchange(FC.m_dwLastError, ERROR_SUCCESS), std::exchange(FC.m_sLastError, {})};
}

void PutBackLastError(FtpContext& FC, LastError&& Taken) noexcept
{
    FC.m_dwLastError = Taken.m_dwLastError;
    FC.m_sLastError = std::move(Taken.m_sLastError);
}

void StoreHostFailure(FtpContext& FC, const Failure& Reason) noexcept
{
    WorkerRuns(FC) ? StoreFailure(FC.m_HostError, Reason) : StoreFailure(FC, Reason);
}

std::uint32_t LastErrorCode(const FtpContext& FC)
{
    return ReportsHostError(FC) ? FC.m_HostError.m_dwLastError : FC.m_dwLastError;
}

std::wstring LastErrorText(const FtpContext& FC)
{
    return ReportsHostError(FC) ? FC.m_HostError.m_sLastError : FC.m_sLastError;
}
