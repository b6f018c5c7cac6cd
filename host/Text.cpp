#include "host/Text.h"

#include <algorithm>
#include <array>
#include <regex>
#include <windows.h>

namespace {

constexpr int FIRST_YEAR = 1900; // of struct tm

bool IsUnprintable(wchar_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

std::tm LocalTime(std::time_t tTime)
{
    std::tm Time{};
    localtime_s(&Time, &tTime);
    return Time;
}

std::string Format(const std::tm& Time)
{
    return fmt::format("{:02}/{:02}/{:04} {:02}:{:02}:{:02}", Time.tm_mday, Time.tm_mon + 1,
                       Time.tm_year + FIRST_YEAR, Time.tm_hour, Time.tm_min, Time.tm_sec);
}

} // namespace

std::wstring FromUtf8(std::string_view sText)
{
    const int iBytes = static_cast<int>(sText.size());
    const int iLength = MultiByteToWideChar(CP_UTF8, 0, sText.data(), iBytes, nullptr, 0);
    std::wstring sWide(static_cast<std::size_t>(iLength), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, sText.data(), iBytes, sWide.data(), iLength);
    return sWide;
}

std::string Printable(std::string_view sText)
{
    std::wstring sWide = FromUtf8(sText);
    std::ranges::replace_if(sWide, IsUnprintable, L'?');
    return ToUtf8(sWide);
}

std::string Quoted(std::string_view sName) { return '"' + Printable(sName) + '"'; }

std::string SizeText(std::uint64_t uiBytes)
{
    constexpr std::array UNITS{"KiB", "MiB", "GiB", "TiB"};
    constexpr double STEP = 1024;
    double dAmount = static_cast<double>(uiBytes) / STEP;
    if (dAmount < 1)
        return CountText(uiBytes, "byte");
    std::size_t uiUnit = 0;
    for (; dAmount >= STEP && uiUnit + 1 < UNITS.size(); ++uiUnit)
        dAmount /= STEP;
    return fmt::format("{:.1f} {}", dAmount, UNITS[uiUnit]);
}

std::string CountText(std::uint64_t uiCount, const char* pOfWhat)
{
    return fmt::format("{} {}{}", uiCount, pOfWhat, uiCount == 1 ? "" : "s");
}

std::string DurationText(std::uint64_t uiSeconds)
{
    const std::uint64_t uiMinutes = uiSeconds / 60;
    return uiMinutes < 60 ? fmt::format("{}:{:02}", uiMinutes, uiSeconds % 60)
                          : fmt::format("{}:{:02}:{:02}", uiMinutes / 60, uiMinutes % 60, uiSeconds % 60);
}

std::string VersionText(std::time_t tVersion) { return Format(LocalTime(tVersion)); }

std::optional<std::time_t> ParseVersionText(const std::string& sGiven)
{
    static const std::regex ISO(R"(^(\d{4})-(\d\d)-(\d\d)[T ](.+)$)");
    static const std::regex ISO_DAY(R"(^(\d{4})-(\d\d)-(\d\d)$)");
    const std::string sText =
        std::regex_replace(std::regex_replace(sGiven, ISO, "$3/$2/$1 $4"), ISO_DAY, "$3/$2/$1 23:59:59");
    std::tm Time{};
    if (std::sscanf(sText.c_str(), "%2d/%2d/%4d %2d:%2d:%2d", &Time.tm_mday, &Time.tm_mon, &Time.tm_year,
                    &Time.tm_hour, &Time.tm_min, &Time.tm_sec) != 6)
        return std::nullopt;
    Time.tm_mon -= 1;
    Time.tm_year -= FIRST_YEAR;
    Time.tm_isdst = -1;
    const std::time_t tTime = std::mktime(&Time);
    return tTime != -1 && VersionText(tTime) == sText ? std::optional(tTime) : std::nullopt;
}

std::wstring StandardTimeText(std::time_t tVersion)
{
    std::tm Clock = LocalTime(tVersion);
    const std::time_t tShown = _mkgmtime(&Clock); // as if it were UTC
    Clock.tm_isdst = 0;
    const std::time_t tTooLate = std::mktime(&Clock) - tVersion;
    const std::time_t tStandard = tShown - tTooLate;
    gmtime_s(&Clock, &tStandard);
    return FromUtf8(Format(Clock));
}
