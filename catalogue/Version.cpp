#include "catalogue/Version.h"

#include "catalogue/Label.h"

using quorvel::FunctionTrace;

bool Version::ConvertDateToLabel(std::int64_t tDate, std::wstring& sLabel)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"Version::ConvertDateToLabel");
    Trace.Number(L"tDate", tDate);
    std::wstring sDigits;
    if (!FormatLocalTime(Trace, tDate, LABEL_DATE_PATTERN, sDigits))
        return false;
    sLabel = std::wstring(LABEL_PREFIX) + sDigits;
    Trace.Text(L"sLabel", sLabel);
    Trace.Ending();
    return true;
}

bool Version::ConvertLabelToDate(const std::wstring& sLabel, std::int64_t& tDate)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"Version::ConvertLabelToDate");
    Trace.Text(L"sLabel", sLabel);
    tDate = 0;
    std::wstring sRemainder;
    if (!SplitLabel(sLabel, LABEL_DATE_LENGTH, false, Trace, sRemainder))
        return false;
    tDate = ParseLabelDate(sRemainder, Trace);
    Trace.Number(L"tDate", tDate);
    Trace.Ending();
    return true;
}

bool Version::ConvertDateToString(std::int64_t tDate, std::wstring& sText)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"Version::ConvertDateToString");
    Trace.Number(L"tDate", tDate);
    if (!FormatLocalTime(Trace, tDate, L"%d/%m/%Y %H:%M:%S", sText))
        return false;
    Trace.Text(L"sText", sText);
    Trace.Ending();
    return true;
}

std::wstring Version::GetLabel() const
{
    const FunctionTrace Trace = FunctionTrace::Started(L"Version::GetLabel");
    std::wstring sLabel(ERROR_LABEL); // kept if there is no other
    ConvertDateToLabel(m_tDate, sLabel);
    Trace.Text(L"sLabel", sLabel);
    Trace.Ending();
    return sLabel;
}
