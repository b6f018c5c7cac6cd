#include "common/Url.h"

#include "common/Text.h"

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

} // namespace quorvel
