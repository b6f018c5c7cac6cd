#include "common/Text.h"

#include <climits>
#include <cstdlib>
#include <cwchar>
#include <windows.h>

namespace quorvel {

namespace {

bool IsHighSurrogate(wchar_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(wchar_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

std::wstring WidenBytes(std::string_view sText)
{
    std::wstring sWide;
    for (const char c : sText)
        sWide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return sWide;
}

std::wstring OnlyWhatTheLocaleKnows(std::wstring_view sText)
{
    std::wstring sKnown(sText);
    for (wchar_t& c : sKnown)
    {
        char aBytes[MB_LEN_MAX];
        int iLength = 0;
        if (wctomb_s(&iLength, aBytes, sizeof(aBytes), c) != 0)
            c = L'?';
    }
    return sKnown;
}

// The length of a scheme and its "://". A password may contain "://", too, but it follows "user:", and a scheme
// contains no colon.
template <typename Char> std::size_t SchemeLength(std::basic_string_view<Char> sText)
{
    std::size_t i = 0;
    while (i < sText.size() &&
           (iswalnum(static_cast<wint_t>(sText[i])) || sText[i] == '+' || sText[i] == '-'))
        ++i;
    const bool bScheme =
        sText.size() - i >= 3 && sText[i] == ':' && sText[i + 1] == '/' && sText[i + 2] == '/';
    return bScheme ? i + 3 : 0;
}

template <typename Char> std::basic_string<Char> Masked(std::basic_string_view<Char> sText)
{
    const std::size_t uiStart = SchemeLength(sText);
    const std::size_t uiAt = sText.rfind(Char{'@'});
    std::basic_string<Char> sMasked(sText);
    if (uiAt != sText.npos)
        sMasked.replace(uiStart, uiAt - uiStart, 3, Char{'*'});
    return sMasked;
}

} // namespace

std::wstring Widen(std::string_view sText)
{
    const std::string sTerminated(sText);
    std::size_t uiSize = 0;
    if (mbstowcs_s(&uiSize, nullptr, 0, sTerminated.c_str(), 0) != 0 || uiSize == 0)
        return WidenBytes(sText);
    std::wstring sWide(uiSize, L'\0');
    if (mbstowcs_s(&uiSize, sWide.data(), sWide.size(), sTerminated.c_str(), _TRUNCATE) != 0)
        return WidenBytes(sText);
    sWide.resize(uiSize - 1);
    return sWide;
}

std::string Narrow(std::wstring_view sText)
{
    const std::wstring sKnown = OnlyWhatTheLocaleKnows(sText);
    std::string sNarrow(sKnown.size() * MB_LEN_MAX + 1, '\0');
    std::size_t uiSize = 0;
    if (wcstombs_s(&uiSize, sNarrow.data(), sNarrow.size(), sKnown.c_str(), _TRUNCATE) != 0)
        return {};
    sNarrow.resize(uiSize - 1);
    return sNarrow;
}

std::string ToUtf8(std::wstring_view sText)
{
    if (sText.empty())
        return {};
    const int iLength = static_cast<int>(sText.size());
    const int iBytes = WideCharToMultiByte(CP_UTF8, 0, sText.data(), iLength, nullptr, 0, nullptr, nullptr);
    std::string sUtf8(static_cast<std::size_t>(iBytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, sText.data(), iLength, sUtf8.data(), iBytes, nullptr, nullptr);
    return sUtf8;
}

void CopyTruncated(const std::wstring& sText, char* pBuffer, std::size_t uiSize)
{
    if (pBuffer != nullptr && uiSize != 0)
        strncpy_s(pBuffer, uiSize, Narrow(sText).c_str(), _TRUNCATE);
}

void CopyTruncated(const std::wstring& sText, wchar_t* pBuffer, std::size_t uiSize)
{
    if (pBuffer != nullptr && uiSize != 0)
        wcsncpy_s(pBuffer, uiSize, sText.c_str(), _TRUNCATE);
}

std::wstring WellFormed(std::wstring_view sText)
{
    std::wstring sResult(sText);
    for (std::size_t i = 0; i < sResult.size(); ++i)
    {
        if (IsHighSurrogate(sResult[i]) && i + 1 < sResult.size() && IsLowSurrogate(sResult[i + 1]))
            ++i;
        else if (IsHighSurrogate(sResult[i]) || IsLowSurrogate(sResult[i]))
            sResult[i] = 0xFFFD;
    }
    return sResult;
}

std::string WithoutPassword(std::string_view sText) { return Masked(sText); }

std::wstring WithoutPassword(std::wstring_view sText) { return Masked(sText); }

} // namespace quorvel
