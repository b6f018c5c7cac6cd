#include "catalogue/AreaObject.h"

#include "catalogue/Label.h"

#include <cstdlib>
#include <cwchar>
#include <iterator>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr std::size_t NUMBER_LENGTH = 4; // a point and three digits

// The number behind the last point. An empty one is 0.
bool ParseNumber(const std::wstring& sRemainder, const FunctionTrace& Trace, std::uint32_t& uiObjectId)
{
    const std::size_t uiPoint = sRemainder.rfind(L'.');
    if (uiPoint == std::wstring::npos)
    {
        Trace.Error(L"... ending()");
        return false;
    }
    const std::wstring sSuffix = sRemainder.substr(uiPoint + 1);
    Trace.Text(Level::Verbose, L"sSuffix", sSuffix);
    uiObjectId = static_cast<std::uint32_t>(_wtoi(sSuffix.c_str()));
    return true;
}

} // namespace

bool AreaObject::ConvertDateAndIdToLabel(std::int64_t tDate, std::uint32_t uiObjectId, std::wstring& sLabel)
{
    const FunctionTrace Trace(L"AreaObject::ConvertDateAndIdToLabel");
    Trace.Starting();
    Trace.Number(Level::Verbose, L"tDate", tDate);
    Trace.Number(Level::Verbose, L"uiObjectId", uiObjectId);
    std::wstring sDigits;
    if (!FormatLocalTime(tDate, LABEL_DATE_PATTERN,
                         L"AreaObject::ConvertDateAndIdToLabel : ... ending(Invalid date/time supplied)",
                         sDigits))
        return false;
    if (uiObjectId >= FIRST_ID_WITHOUT_LABEL)
    {
        FunctionTrace(L"AreaObject::ConvertDateAndIdToLabel : ... ending(Invalid object id)")
            .Number(Level::Error, L"uiObjectId", uiObjectId);
        return false;
    }
    wchar_t aNumber[NUMBER_LENGTH];
    _snwprintf_s(aNumber, std::size(aNumber), _TRUNCATE, L"%3.3u", uiObjectId);
    sLabel = std::wstring(LABEL_PREFIX) + sDigits + L"." + aNumber;
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    Trace.Ending();
    return true;
}

bool AreaObject::ConvertLabelToDateAndId(const std::wstring& sLabel, std::int64_t& tDate,
                                         std::uint32_t& uiObjectId)
{
    const FunctionTrace Trace(L"AreaObject::ConvertLabelToDateAndId");
    Trace.Starting();
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    std::wstring sRemainder;
    if (!SplitLabel(sLabel, LABEL_DATE_LENGTH + NUMBER_LENGTH, true, Trace, sRemainder))
        return false;
    tDate = ParseLabelDate(sRemainder, Trace);
    if (!ParseNumber(sRemainder, Trace, uiObjectId))
        return false;
    Trace.Number(Level::Verbose, L"tDate", tDate);
    Trace.Number(Level::Verbose, L"uiObjectId", uiObjectId);
    Trace.Ending();
    return true;
}

std::wstring AreaObject::GetLabel() const
{
    const FunctionTrace Trace(L"AreaObject::GetLabel");
    Trace.Starting();
    std::wstring sLabel;
    if (!ConvertDateAndIdToLabel(m_tDate, m_uiObjectId, sLabel))
        sLabel = ERROR_LABEL;
    Trace.Text(Level::Verbose, L"sLabel", sLabel);
    Trace.Ending();
    return sLabel;
}
