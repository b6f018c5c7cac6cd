#include "device/CurlCalls.h"

#include "common/Url.h"

void CurlCalls::SetUrl(const std::wstring& sURL, const wchar_t* sName, const wchar_t* sFailure)
{
    if (!Succeeded())
        return;
    m_Trace.At(L"curl_easy_setopt(CURLOPT_URL)").Location(sName, sURL);
    Set(CURLOPT_URL, quorvel::NarrowUrl(sURL).c_str(), sFailure);
}
