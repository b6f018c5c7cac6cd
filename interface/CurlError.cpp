#include "interface/CurlError.h"

#include "common/FunctionTrace.h"
#include "common/Text.h"

void CurlError(CURLcode enCurlRc, std::wstring& sError)
{
    const quorvel::FunctionTrace Trace(L"CurlError");
    Trace.Starting();
    sError += L" [" + quorvel::Widen(curl_easy_strerror(enCurlRc)) + L"]";
    Trace.Number(quorvel::Level::Verbose, L"enCurlRc", static_cast<std::uint32_t>(enCurlRc));
    Trace.Text(quorvel::Level::Verbose, L"sError", sError);
    Trace.Ending();
}

bool CurlSucceeded(CURLcode enCurlRc, const wchar_t* sFailure, std::uint32_t& dwLastError,
                   std::wstring& sLastError)
{
    if (enCurlRc == CURLE_OK)
        return true;
    dwLastError = static_cast<std::uint32_t>(enCurlRc);
    sLastError = sFailure;
    CurlError(enCurlRc, sLastError);
    return false;
}
