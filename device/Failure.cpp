#include "device/Failure.h"

#include "interface/CurlError.h"

#include <new>
#include <windows.h>

// ERROR_UNHANDLED_EXCEPTION, which mingw's headers lack
static constexpr std::uint32_t UNHANDLED_EXCEPTION = 574;

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

void Describe(const Failure& Reason, std::wstring& sText) noexcept
{
    sText.clear();
    try
    {
        sText = Reason.sLastError;
        if (Reason.enCurlRc != CURLE_OK)
            CurlError(Reason.enCurlRc, sText);
        sText += Reason.sDetail;
    }
    catch (const std::bad_alloc&)
    {
        return; // the number says enough
    }
}
