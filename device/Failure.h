// The one way to fail: a value says why something failed, and StoreFailure keeps it. StoreHostFailure and
// StoreWorkerFailure call it where the two threads of a transfer share the fields.
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <string>

struct Failure
{
    std::uint32_t dwLastError; // a Windows error number or a libcurl result code
    const wchar_t* sLastError;
    CURLcode enCurlRc = CURLE_OK; // of a call of libcurl, whose own text is then added
    const wchar_t* sDetail = L""; // added at the end
};

// The exception being handled, as a failure. For catch blocks only.
Failure ExceptionFailure() noexcept;

// The failure's text, as far as there is memory for it.
void Describe(const Failure& Reason, std::wstring& sText) noexcept;

// Sets both fields of a device or a catalogue manager. Only for their owner: device/LastError.h says who that is.
template <typename Holder> void StoreFailure(Holder& holder, const Failure& Reason) noexcept
{
    holder.m_dwLastError = Reason.dwLastError;
    Describe(Reason, holder.m_sLastError);
}

// What a holder has stored. Valid for as long as the holder lives.
template <typename Holder> Failure StoredFailure(const Holder& holder)
{
    return {holder.m_dwLastError, holder.m_sLastError.c_str()};
}
