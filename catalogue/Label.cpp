#include "catalogue/Label.h"

#include <ctime>
#include <cwchar>
#include <iterator>
#include <windows.h>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

} // namespace

bool FormatLocalTime(const FunctionTrace& Trace, std::int64_t tDate, const wchar_t* sPattern,
                     std::wstring& sText)
{
    const FunctionTrace Invalid = Trace.At(L"... ending(Invalid date/time supplied)");
    std::tm Time{};
    if (const errno_t iError = _localtime64_s(&Time, &tDate); iError != 0)
    {
        Invalid.Number(Level::Error, L"iError", iError);
        return false;
    }
    wchar_t aText[21];
    if (wcsftime(aText, std::size(aText), sPattern, &Time) == 0)
    {
        const DWORD dwLastError = GetLastError();
        Invalid.Number(Level::Error, L"dwLastError", dwLastError);
        return false;
    }
    sText = aText;
    return true;
}

std::int64_t ParseLabelDate(const std::wstring& sRemainder, const FunctionTrace& Trace)
{
    std::size_t uiPosition = 0;
    const auto Cut = [&](std::size_t uiLength, const wchar_t* sName) {
        const std::wstring sPart = sRemainder.substr(uiPosition, uiLength);
        uiPosition += uiLength;
        Trace.Text(sName, sPart);
        return _wtoi(sPart.c_str());
    };
    std::tm Time{};
    Time.tm_year = Cut(4, L"sYear") - 1900;
    Time.tm_mon = Cut(2, L"sMon") - 1;
    Time.tm_mday = Cut(2, L"sMday");
    Time.tm_hour = Cut(2, L"sHour");
    Time.tm_min = Cut(2, L"sMin");
    Time.tm_sec = Cut(2, L"sSec");
    Time.tm_isdst = -1;
    return _mktime64(&Time);
}

bool SplitLabel(const std::wstring& sLabel, std::size_t uiRemainder, bool bPointAllowed,
                const FunctionTrace& Trace, std::wstring& sRemainder)
{
    if (sLabel.size() != LABEL_PREFIX.size() + uiRemainder)
        return Trace.Failed(L"... ending(Label is not of expected length)");
    if (!sLabel.starts_with(LABEL_PREFIX))
        return Trace.Failed(L"... ending(Label doesn't start with expected prefix)");
    sRemainder = sLabel.substr(LABEL_PREFIX.size());
    for (const wchar_t c : sRemainder)
    {
        if (IsDigit(c) || (bPointAllowed && c == L'.'))
            continue;
        Trace.At(L"Invalid character").Number(Level::Error, L"sRemainder[i]", c);
        return Trace.Failed(L"... ending(Label contains invalid character)");
    }
    return true;
}
