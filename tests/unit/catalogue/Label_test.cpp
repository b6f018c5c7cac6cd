#include "interface/BackupTime.h"
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <gmock/gmock.h>
#include <limits>
#include <tuple>

using testing::Contains;

TEST(VersionLabel, ReadsEveryDateOfTheRightForm)
{
    const std::tuple<const wchar_t*, std::int64_t, const wchar_t*> CASES[] = {
        {L"ZELT_20240315143005", T_2024, L"ZELT_20240315143005"},
        {L"ZELT_19700101053000", 0, L"ZELT_19700101053000"},
        {L"ZELT_20241301000000", 1735669800, L"ZELT_20250101000000"}, // month 13
        {L"ZELT_20240230000000", 1709231400, L"ZELT_20240301000000"}, // 30 February
        {L"ZELT_19690101000000", -1, L"ZELT_ERROR"},
    };
    for (const auto& [sLabel, tExpected, sLabelOfDate] : CASES)
    {
        std::int64_t tDate = 7;
        EXPECT_TRUE(Version::ConvertLabelToDate(sLabel, tDate)) << sLabel;
        EXPECT_EQ(tDate, tExpected) << sLabel;
        EXPECT_EQ(Version(tDate).GetLabel(), sLabelOfDate);
    }
}

TEST(VersionLabel, RefusesEveryOtherTextAndSaysWhy)
{
    const std::pair<const wchar_t*, std::string> CASES[] = {
        {L"", "Label is not of expected length"},
        {L"ZELT_202403151430055", "Label is not of expected length"},
        {L"zelt_20240315143005", "Label doesn't start with expected prefix"},
        {L"ZELT_+0240315143005", "Label contains invalid character"},
        {L"ZELT_2024031514300\xFF15", "Label contains invalid character"}, // a digit, but not ASCII
    };
    for (const auto& [sLabel, sReason] : CASES)
    {
        const TraceLog Log;
        std::int64_t tDate = 7;
        EXPECT_FALSE(Version::ConvertLabelToDate(sLabel, tDate)) << sLabel;
        EXPECT_EQ(tDate, 0) << sLabel;
        EXPECT_THAT(Log.Lines(), Contains("[E]: Version::ConvertLabelToDate : ... ending(" + sReason + ")"));
    }
}

TEST(ObjectLabel, ReadsDateAndNumber)
{
    constexpr std::int64_t REFUSED = -1;
    const std::tuple<const wchar_t*, std::int64_t, std::uint32_t> CASES[] = {
        {L"ZELT_20240315143005.001", T_2024, 1},         {L"ZELT_20240315143005.999", T_2024, 999},
        {L"ZELT_202403151430.50012", T_2024 - 5, 50012}, // the point is not looked for at one place
        {L"ZELT_2024031514300..012", T_2024 - 5, 12},    {L"ZELT_20240315143005012.", T_2024, 0},
        {L"ZELT_20240315143005.1", REFUSED, 0},          {L"ZELT_20240315143005.0001", REFUSED, 0},
        {L"zelt_20240315143005.001", REFUSED, 0},        {L"ZELT_202403151430050012", REFUSED, 0},
    };
    for (const auto& [sLabel, tExpected, uiExpected] : CASES)
    {
        std::int64_t tDate = 7;
        std::uint32_t uiObjectId = 7;
        const bool bRead = AreaObject::ConvertLabelToDateAndId(sLabel, tDate, uiObjectId);
        EXPECT_EQ(bRead ? tDate : REFUSED, tExpected) << sLabel;
        EXPECT_EQ(bRead ? uiObjectId : 0, uiExpected) << sLabel;
    }
}

TEST(Label, IsMadeOfADateOfTheCalendarAndANumberUpTo999)
{
    constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();
    const std::tuple<std::int64_t, std::uint32_t, const wchar_t*> CASES[] = {
        {T_2024, 0, L"ZELT_20240315143005.000"},
        {T_2024, 12, L"ZELT_20240315143005.012"},
        {T_2024, 999, L"ZELT_20240315143005.999"},
        {T_2024, 1000, nullptr},
        {T_2024, 4294967295, nullptr},
        {-1, 1, nullptr},
        {NEVER, 1, nullptr}};
    for (const auto& [tDate, uiObjectId, sExpected] : CASES)
    {
        std::wstring sLabel = L"as before";
        EXPECT_EQ(AreaObject::ConvertDateAndIdToLabel(tDate, uiObjectId, sLabel), sExpected != nullptr);
        EXPECT_EQ(sLabel, sExpected != nullptr ? sExpected : L"as before");
        EXPECT_EQ(AreaObject(tDate, uiObjectId).GetLabel(), sExpected != nullptr ? sExpected : L"ZELT_ERROR");
    }
    std::wstring sText;
    EXPECT_TRUE(Version::ConvertDateToString(T_2024, sText));
    EXPECT_EQ(sText, L"15/03/2024 14:30:05");
    EXPECT_FALSE(Version::ConvertDateToString(NEVER, sText));
    EXPECT_LT(AreaObject(T_2024, 2), AreaObject(T_2023, 10)); // the date takes no part in the order
}

// This program is started in a time zone of central Europe. The run time uses it once the variable TZ is gone. Hosts
// ask in standard time; labels show the clock.
TEST(DaylightSaving, HasAnHourTwiceAndOneNever)
{
    _putenv("TZ=");
    _tzset();
    TIME_ZONE_INFORMATION Zone{};
    GetTimeZoneInformation(&Zone);
    ASSERT_EQ(Zone.Bias, -60);
    ASSERT_EQ(Zone.DaylightDate.wMonth * 100 + Zone.StandardDate.wMonth, 310);
    // label, date that it reads as, label of that date, the same date as a host asks for it
    const std::tuple<const wchar_t*, std::int64_t, const wchar_t*, const char*> CASES[] = {
        {L"ZELT_20240701120000", 1719828000, L"ZELT_20240701120000", "01/07/2024 11:00:00"},
        {L"ZELT_20241201120000", 1733050800, L"ZELT_20241201120000", "01/12/2024 12:00:00"},
        {L"ZELT_20241027023000", 1729992600, L"ZELT_20241027023000", "27/10/2024 02:30:00"}, // the later one
        {L"ZELT_20240331023000", 1711845000, L"ZELT_20240331013000", "31/03/2024 01:30:00"}, // never
        {L"ZELT_20240331033000", 1711848600, L"ZELT_20240331033000", "31/03/2024 02:30:00"},
    };
    for (const auto& [sLabel, tExpected, sLabelOfDate, sAsked] : CASES)
    {
        std::int64_t tDate = 0;
        EXPECT_TRUE(Version::ConvertLabelToDate(sLabel, tDate));
        EXPECT_EQ(tDate, tExpected) << sLabel;
        EXPECT_EQ(Version(tDate).GetLabel(), sLabelOfDate);
        EXPECT_EQ(ParseBackupTime(sAsked), tExpected) << sAsked;
    }
    EXPECT_EQ(ParseBackupTime("27/10/2024 01:30:00"), 1729989000);
    EXPECT_EQ(Version(1729989000).GetLabel(), L"ZELT_20241027023000"); // two instants, one label
}
