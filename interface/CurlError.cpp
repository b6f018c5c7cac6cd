#include "interface/CurlError.h"

#include "common/FunctionTrace.h"
#include "common/Text.h"

void CurlError(CURLcode enCurlRc, std::wstring& sError)
{
    const quorvel::FunctionTrace Trace = quorvel::FunctionTrace::Started(L"CurlError");
    sError += L" [" + quorvel::Widen(curl_easy_strerror(enCurlRc)) + L"]";
    Trace.Number(L"enCurlRc", enCurlRc);
    Trace.Text(L"sError", sError);
    Trace.Ending();
}
