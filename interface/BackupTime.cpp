#include "interface/BackupTime.h"

#include "common/FunctionTrace.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <string_view>

using quorvel::FunctionTrace;

namespace {

constexpr std::int64_t LATEST = 0;
constexpr std::int64_t BEFORE_EVERY_BACKUP = 1;
constexpr std::string_view PATTERN = "dd/dd/dddd dd:dd:dd";

bool FollowsPattern(const std::string& sText)
{
    return std::equal(sText.begin(), sText.end(), PATTERN.begin(), PATTERN.end(), [](char c, char cPattern) {
        return cPattern == 'd' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == cPattern;
    });
}

bool InRange(const std::tm& Time)
{
    return Time.tm_mday >= 1 && Time.tm_mday <= 31 && Time.tm_mon >= 0 && Time.tm_mon <= 11 &&
           Time.tm_hour <= 23 && Time.tm_min <= 59 && Time.tm_sec <= 60;
}

} // namespace

std::int64_t ParseBackupTime(const std::string& sText)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"ParseBackupTime");
    if (sText.empty())
    {
        Trace.Verbose(L"... ending(Latest version)");
        return LATEST;
    }
    std::tm Time{}; // daylight-saving flag 0: the time is standard time, fixed by the interface
    if (FollowsPattern(sText))
    {
        Time.tm_mday = std::stoi(sText.substr(0, 2));
        Time.tm_mon = std::stoi(sText.substr(3, 2)) - 1;
        Time.tm_year = std::stoi(sText.substr(6, 4)) - 1900;
        Time.tm_hour = std::stoi(sText.substr(11, 2));
        Time.tm_min = std::stoi(sText.substr(14, 2));
        Time.tm_sec = std::stoi(sText.substr(17, 2));
    }
    if (!InRange(Time))
    {
        Trace.Error(L"... ending(Invalid date/time supplied)");
        return BEFORE_EVERY_BACKUP;
    }
    const std::int64_t tTime = _mktime64(&Time);
    Trace.Number(L"tTime", tTime);
    Trace.Ending();
    return std::max(tTime, BEFORE_EVERY_BACKUP); // 1970 and earlier is not "the latest"
}
