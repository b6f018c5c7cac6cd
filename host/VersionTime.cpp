#include "host/VersionTime.h"

#include "host/Utf8.h"

#include <array>
#include <chrono>
#include <regex>

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
    std::strftime(aText.data(), aText.size(), "%d/%m/%Y %H:%M:%S", &Time);
    return aText.data();
}

bool Exists(const std::tm& Time)
{
    const std::chrono::year_month_day Date(std::chrono::year(Time.tm_year + FIRST_YEAR),
                                           std::chrono::month(static_cast<unsigned>(Time.tm_mon + 1)),
                                           std::chrono::day(static_cast<unsigned>(Time.tm_mday)));
    return Date.ok() && Time.tm_hour < 24 && Time.tm_min < 60 && Time.tm_sec < 60;
}

} // namespace

std::time_t ToTime(const ZDV_VERSION_DATE& Date)
{
    std::tm Time{};
    Time.tm_sec = Date.iSec;
    Time.tm_min = Date.iMin;
    Time.tm_hour = Date.iHour;
    Time.tm_mday = Date.iMday;
    Time.tm_mon = Date.iMon;
    Time.tm_year = Date.iYear;
    Time.tm_isdst = Date.iIsdst;
    return std::mktime(&Time);
}

std::string VersionText(std::time_t tVersion) { return Format(LocalTime(tVersion)); }

std::optional<std::time_t> ParseVersionText(const std::string& sText)
{
    static const std::regex PATTERN(R"((\d\d)/(\d\d)/(\d{4}) (\d\d):(\d\d):(\d\d))");
    std::smatch Fields;
    if (!std::regex_match(sText, Fields, PATTERN))
        return std::nullopt;
    std::tm Time{};
    Time.tm_mday = std::stoi(Fields[1]);
    Time.tm_mon = std::stoi(Fields[2]) - 1;
    Time.tm_year = std::stoi(Fields[3]) - FIRST_YEAR;
    Time.tm_hour = std::stoi(Fields[4]);
    Time.tm_min = std::stoi(Fields[5]);
    Time.tm_sec = std::stoi(Fields[6]);
    Time.tm_isdst = -1;
    if (!Exists(Time))
        return std::nullopt;
    const std::time_t tTime = std::mktime(&Time);
    return tTime == -1 ? std::nullopt : std::optional(tTime);
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
