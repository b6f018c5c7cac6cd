#pragma once

#include <cstdint>
#include <string>

// A tape file of a backup. Ordered only by its number.
class AreaObject
{
public:
    static constexpr std::uint32_t FIRST_ID_WITHOUT_LABEL = 1000; // three digits number an object

    AreaObject(std::int64_t tDate, std::uint32_t uiObjectId) : m_tDate(tDate), m_uiObjectId(uiObjectId) {}

    // The version label of tDate, a point and three digits. False for a date that has no local time and for a number
    // without label; sLabel is then unchanged.
    static bool ConvertDateAndIdToLabel(std::int64_t tDate, std::uint32_t uiObjectId, std::wstring& sLabel);
    // False for a text that is not an object label. The point may be anywhere:
    // "ZELT_202403151430.50012" is object 50012.
    static bool ConvertLabelToDateAndId(const std::wstring& sLabel, std::int64_t& tDate,
                                        std::uint32_t& uiObjectId);

    // The label, "ZELT_ERROR" for an object that has none.
    std::wstring GetLabel() const;

    bool operator<(const AreaObject& Other) const { return m_uiObjectId < Other.m_uiObjectId; }

    std::wstring m_sLabel; // always empty: GetLabel makes the label each time
    std::int64_t m_tDate;  // seconds since 1970: when the object was opened
    std::uint32_t m_uiObjectId;
};
