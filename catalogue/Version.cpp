#include "catalogue/Version.h"

#include "catalogue/Label.h"

#include <ctime>
#include <cwchar>
#include <windows.h>

using quorvel::FunctionTrace;
using quorvel::Level;

bool Version::ConvertDateToLabel(std::int64_t tDate, std::wstring& sLabel)
{
    const FunctionTrace Trace(L"Version::ConvertDateToLabel");
    Trace.Starting();
    Trace.Number(Level::Verbose, L"tDate", tDate);
    std::wstring sDigits;
    if (!FormatLabelDate(tDate, L"Version::ConvertDateToLabel : ... ending(Invalid date/time supplied)",
                         sDigits))
        return false;
    sLabel = std::wstring(LABEL_PREFIX) + sDigits;
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    Trace.Ending();
    return true;
}

bool Version::ConvertLabelToDate(const std::wstring& sLabel, std::int64_t& tDate)
{
    const FunctionTrace Trace(L"Version::ConvertLabelToDate");
    Trace.Starting();
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    tDate = 0;
    std::wstring sRemainder;
    if (!SplitLabel(sLabel, LABEL_DATE_LENGTH, false, Trace.Name(), sRemainder))
        return false;
    tDate = ParseLabelDate(sRemainder, Trace);
    Trace.Number(Level::Verbose, L"tDate", tDate);
    Trace.Ending();
    return true;
}

bool Version::ConvertDateToString(std::int64_t tDate, std::wstring& sText)
{
    const FunctionTrace Trace(L"Version::ConvertDateToString");
    const FunctionTrace Invalid(L"Version::ConvertDateToString : ... ending(Invalid date/time supplied)");
    Trace.Starting();
    Trace.Number(Level::Verbose, L"tDate", tDate);
    std::tm Time{};
    if (const errno_t iError = _localtime64_s(&Time, &tDate); iError != 0)
    {
        Invalid.Number(Level::Error, L"iError", iError);
        return false;
    }
    wchar_t aText[21];
    if (wcsftime(aText, std::size(aText), L"%d/%m/%Y %H:%M:%S", &Time) == 0)
    {
        const DWORD dwLastError = GetLastError();
        Invalid.Number(Level::Error, L"dwLastError", dwLastError);
        return false;
    }
    sText = aText;
    Trace.Text(Level::Verbose, L"sText", sText);
    Trace.Ending();
    return true;
}

std::wstring Version::GetLabel() const
{
    const FunctionTrace Trace(L"Version::GetLabel");
    Trace.Starting();
    std::wstring sLabel;
    if (!ConvertDateToLabel(m_tDate, sLabel))
        sLabel = std::wstring(LABEL_PREFIX) + L"ERROR";
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    Trace.Ending();
    return sLabel;
}
