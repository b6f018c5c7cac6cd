#include "catalogue/Version.h"

#include "catalogue/Label.h"

using quorvel::FunctionTrace;
using quorvel::Level;

bool Version::ConvertDateToLabel(std::int64_t tDate, std::wstring& sLabel)
{
    const FunctionTrace Trace(L"Version::ConvertDateToLabel");
    Trace.Starting();
    Trace.Number(Level::Verbose, L"tDate", tDate);
    std::wstring sDigits;
    if (!FormatLocalTime(tDate, LABEL_DATE_PATTERN,
                         L"Version::ConvertDateToLabel : ... ending(Invalid date/time supplied)", sDigits))
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
    if (!SplitLabel(sLabel, LABEL_DATE_LENGTH, false, Trace, sRemainder))
        return false;
    tDate = ParseLabelDate(sRemainder, Trace);
    Trace.Number(Level::Verbose, L"tDate", tDate);
    Trace.Ending();
    return true;
}

bool Version::ConvertDateToString(std::int64_t tDate, std::wstring& sText)
{
    const FunctionTrace Trace(L"Version::ConvertDateToString");
    Trace.Starting();
    Trace.Number(Level::Verbose, L"tDate", tDate);
    if (!FormatLocalTime(tDate, L"%d/%m/%Y %H:%M:%S",
                         L"Version::ConvertDateToString : ... ending(Invalid date/time supplied)", sText))
        return false;
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
        sLabel = ERROR_LABEL;
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    Trace.Ending();
    return sLabel;
}
