#include "catalogue/AreaObject.h"

#include "catalogue/Label.h"

#include <cstdlib>
#include <cwchar>
#include <iterator>

using quorvel::FunctionTrace;
using quorvel::Level;

static constexpr std::size_t NUMBER_LENGTH = 4; // a point and three digits

bool AreaObject::ConvertDateAndIdToLabel(std::int64_t tDate, std::uint32_t uiObjectId, std::wstring& sLabel)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"AreaObject::ConvertDateAndIdToLabel");
    Trace.Number(L"tDate", tDate);
    Trace.Number(L"uiObjectId", uiObjectId);
    std::wstring sDigits;
    if (!FormatLocalTime(Trace, tDate, LABEL_DATE_PATTERN, sDigits))
        return false;
    if (uiObjectId >= FIRST_ID_WITHOUT_LABEL)
    {
        Trace.At(L"... ending(Invalid object id)").Number(Level::Error, L"uiObjectId", uiObjectId);
        return false;
    }
    wchar_t aNumber[NUMBER_LENGTH];
    _snwprintf_s(aNumber, std::size(aNumber), _TRUNCATE, L"%3.3u", uiObjectId);
    sLabel = std::wstring(LABEL_PREFIX) + sDigits + L"." + aNumber;
    Trace.Text(L"sLabel", sLabel);
    Trace.Ending();
    return true;
}

bool AreaObject::ConvertLabelToDateAndId(const std::wstring& sLabel, std::int64_t& tDate,
                                         std::uint32_t& uiObjectId)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"AreaObject::ConvertLabelToDateAndId");
    Trace.Text(L"sLabel", sLabel);
    std::wstring sRemainder;
    if (!SplitLabel(sLabel, LABEL_DATE_LENGTH + NUMBER_LENGTH, true, Trace, sRemainder))
        return false;
    tDate = ParseLabelDate(sRemainder, Trace);
    const std::size_t uiPoint = sRemainder.rfind(L'.');
    if (uiPoint == std::wstring::npos)
        return Trace.Failed(L"... ending()");
    const std::wstring sSuffix = sRemainder.substr(uiPoint + 1);
    Trace.Text(L"sSuffix", sSuffix);
    uiObjectId = static_cast<std::uint32_t>(_wtoi(sSuffix.c_str())); // an empty one is 0
    Trace.Number(L"tDate", tDate);
    Trace.Number(L"uiObjectId", uiObjectId);
    Trace.Ending();
    return true;
}

std::wstring AreaObject::GetLabel() const
{
    const FunctionTrace Trace = FunctionTrace::Started(L"AreaObject::GetLabel");
    std::wstring sLabel(ERROR_LABEL); // kept if there is no other
    ConvertDateAndIdToLabel(m_tDate, m_uiObjectId, sLabel);
    Trace.Text(L"sLabel", sLabel);
    Trace.Ending();
    return sLabel;
}
