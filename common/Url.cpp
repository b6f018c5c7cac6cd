#include "common/Url.h"

#include "common/Text.h"

#include <memory>
#include <new>

namespace quorvel {

namespace {

bool UrlCanHold(unsigned char c) { return c > 0x20 && c < 0x7F && c != '#' && c != '?'; }

} // namespace

std::string NarrowUrl(std::wstring_view sURL)
{
    static const char DIGITS[] = "0123456789ABCDEF";
    std::string sEncoded;
    for (const char c : ToUtf8(sURL))
    {
        const auto ucByte = static_cast<unsigned char>(c);
        if (UrlCanHold(ucByte))
            sEncoded += c;
        else
            sEncoded.append({'%', DIGITS[ucByte >> 4], DIGITS[ucByte & 0xF]});
    }
    return sEncoded;
}

std::string UrlPart(std::wstring_view sURL, CURLUPart enPart, unsigned uiFlags)
{
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> pURL(curl_url(), &curl_url_cleanup);
    char* pPart = nullptr;
    CURLUcode enRc = pURL == nullptr ? CURLUE_OUT_OF_MEMORY
                                     : curl_url_set(pURL.get(), CURLUPART_URL, NarrowUrl(sURL).c_str(), 0);
    if (enRc == CURLUE_OK)
        enRc = curl_url_get(pURL.get(), enPart, &pPart, uiFlags);
    if (enRc == CURLUE_OUT_OF_MEMORY)
        throw std::bad_alloc();
    const std::unique_ptr<char, decltype(&curl_free)> Owner(pPart, &curl_free);
    return enRc == CURLUE_OK ? pPart : "";
}

} // namespace quorvel
