#pragma once

#include <cstdint>
#include <string>

// A backup. Its date identifies it.
class Version
{
public:
    Version() = default;
    explicit Version(std::int64_t tDate) : m_tDate(tDate) {}

    // "ZELT_" and fourteen digits. False for a date that has no local time; sLabel is then unchanged.
    static bool ConvertDateToLabel(std::int64_t tDate, std::wstring& sLabel);
    // False, with tDate 0, for a text that is not a version label.
    static bool ConvertLabelToDate(const std::wstring& sLabel, std::int64_t& tDate);
    // "dd/mm/yyyy hh:mm:ss", local time. False for a date that has no local time.
    static bool ConvertDateToString(std::int64_t tDate, std::wstring& sText);

    // The label, "ZELT_ERROR" for a date that has none.
    std::wstring GetLabel() const;

    std::int64_t m_tDate = 0; // seconds since 1970
};
