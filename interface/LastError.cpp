#include "interface/LastError.h"

#include <new>
#include <utility>

namespace {

constexpr std::uint32_t UNHANDLED_EXCEPTION = 574; // ERROR_UNHANDLED_EXCEPTION, which mingw's headers lack

bool IsConnected(const FtpContext& FC) { return FC.m_bSendData || FC.m_bGetData; }

bool WorkerRuns(const FtpContext& FC)
{
    return IsConnected(FC) && FC.m_hThread != nullptr && WaitForSingleObject(FC.m_hThread, 0) == WAIT_TIMEOUT;
}

// A running worker's fields are not the host's to look at, and a transfer without a failure has nothing to tell.
bool EndedUploadIsTold(const FtpContext& FC)
{
    return WorkerRuns(FC) || (FC.m_dwLastError == ERROR_SUCCESS && FC.m_EndedUpload.dwCode != ERROR_SUCCESS);
}

} // namespace

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
    return EndedUploadIsTold(FC) ? FC.m_EndedUpload.dwCode : FC.m_dwLastError;
}

std::wstring LastErrorText(const FtpContext& FC)
{
    return EndedUploadIsTold(FC) ? FC.m_EndedUpload.sText : FC.m_sLastError;
}
