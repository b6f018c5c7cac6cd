#include "host/VersionTime.h"

#include "host/Utf8.h"

#include <array>
#include <cstdio>

namespace {

constexpr int FIRST_YEAR = 1900; // of struct tm

std::tm LocalTime(std::time_t tTime)
{
    std::tm Time{};
    localtime_s(&Time, &tTime);
    return Time;
}

std::string Format(const std::tm& Time)
{
    std::array<char, 32> aText{};
    return {aText.data(), std::strftime(aText.data(), aText.size(), "%d/%m/%Y %H:%M:%S", &Time)};
}

} // namespace

std::time_t ToTime(const ZDV_VERSION_DATE& Date)
{
    std::tm Time{.tm_sec = Date.iSec,
                 .tm_min = Date.iMin,
                 .tm_hour = Date.iHour,
                 .tm_mday = Date.iMday,
                 .tm_mon = Date.iMon,
                 .tm_year = Date.iYear,
                 .tm_wday = 0,
                 .tm_yday = 0,
                 .tm_isdst = Date.iIsdst};
    return std::mktime(&Time);
}

std::string VersionText(std::time_t tVersion) { return Format(LocalTime(tVersion)); }

int ZoneMinutes(std::time_t tTime)
{
    std::tm Clock = LocalTime(tTime);
    return static_cast<int>((_mkgmtime(&Clock) - tTime) / 60);
}

std::optional<std::time_t> ParseVersionText(const std::string& sText)
{
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
    std::tm AsStandard = Clock;
    AsStandard.tm_isdst = 0;
    const std::time_t tTooLate = std::mktime(&AsStandard) - tVersion;
    const std::time_t tStandard = _mkgmtime(&Clock) - tTooLate;
    std::tm Standard{};
    gmtime_s(&Standard, &tStandard);
    return FromUtf8(Format(Standard));
}
