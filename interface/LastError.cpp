#include "interface/LastError.h"

#include <new>

namespace {

constexpr std::uint32_t UNHANDLED_EXCEPTION = 574; // ERROR_UNHANDLED_EXCEPTION, which mingw's headers lack

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

void AssignLastError(FtpContext& FC, const Failure& Reason) noexcept
{
    FC.m_dwLastError = Reason.dwLastError;
    FC.m_sLastError.clear();
    try
    {
        FC.m_sLastError = Reason.sLastError;
    }
    catch (const std::bad_alloc&)
    {
        return; // the number says enough
    }
}

void StoreLastError(FtpContext& FC, const Failure& Reason) noexcept
{
    if (!WorkerRuns(FC))
        AssignLastError(FC, Reason);
}

Failure ExceptionFailure() noexcept
{
    try
    {
        throw;
    }
    catch (const std::bad_alloc&)
    {
        return {ERROR_NOT_ENOUGH_MEMORY, L"Not enough memory"};
    }
    catch (...)
    {
        return {UNHANDLED_EXCEPTION, L"Unexpected exception"};
    }
}

std::uint32_t LastErrorCode(const FtpContext& FC)
{
    return WorkerRuns(FC) ? std::uint32_t{ERROR_SUCCESS} : FC.m_dwLastError;
}

std::wstring LastErrorText(const FtpContext& FC) { return WorkerRuns(FC) ? std::wstring() : FC.m_sLastError; }
