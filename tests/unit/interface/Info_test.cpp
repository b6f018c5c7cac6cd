// What the module and its device tell the host, and what the host tells them.
#include "interface/BackupTime.h"
#include "interface/ModuleVersion.h"
#include "tests/unit/BothWidths.h"
#include "tests/unit/OpenDevice.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

constexpr ZDV_STATUS UNKNOWN = 0x40000002;

template <typename Api> class Info : public testing::Test
{
protected:
    static constexpr bool NARROW = std::is_same_v<Api, Narrow>;
    OpenDevice m_Device;
};

TYPED_TEST_SUITE(Info, BothWidths);

} // namespace

TYPED_TEST(Info, GivesTheModulesPropertiesCutToFit)
{
    for (const auto& [uiSize, sText] : {std::pair(64u, "V " MODULE_VERSION), {4u, "V 7"}})
    {
        Buffer<typename TypeParam::Char> Answer;
        EXPECT_EQ(TypeParam::GetModuleProperty(ZDV_GMP_VER, Answer, uiSize), ZDV_SUCCESS);
        EXPECT_EQ(Answer.Text(), sText);
    }
    Buffer<typename TypeParam::Char> Date, Untouched;
    EXPECT_EQ(TypeParam::GetModuleProperty(ZDV_GMP_DATE, Date, 64), ZDV_SUCCESS);
    EXPECT_TRUE(std::regex_match(Date.Text(), std::regex("[A-Z][a-z]{2} [ \\d]\\d \\d{4}"))) << Date.Text();
    for (const std::uint32_t uiUnknown : {5u, 6u, 10u, 4294967295u})
        EXPECT_EQ(TypeParam::GetModuleProperty(uiUnknown, Untouched, 64), UNKNOWN) << uiUnknown;
    EXPECT_EQ(TypeParam::GetModuleProperty(9, Untouched, 64), this->NARROW ? ZDV_SUCCESS : UNKNOWN);
    EXPECT_EQ(Untouched.Text(), this->NARROW ? "1" : UNTOUCHED);
    EXPECT_EQ(TypeParam::GetModuleProperty(ZDV_GMP_VER, nullptr, 64), ZDV_SUCCESS);
}

TYPED_TEST(Info, DescribesTheDeviceAndItsLastError)
{
    const char* const sDescription = "FTP Virtual device for Windows";
    const std::tuple<std::uint32_t, std::uint32_t, const wchar_t*, const char*> CASES[] = {
        {0, 64, L"e", ""},
        {1, 64, L"e", sDescription},
        {3, 64, L"e", this->NARROW ? sDescription : "FTP Virtual Tape"},
        {6, 64, L"Couldn't set URL", "ERROR: Couldn't set URL"},
        {6, 10, L"Couldn't set URL", "ERROR: Co"},
        {6, 64, L"", "ERROR: "},
    };
    for (const auto& [uiCategory, uiSize, sLastError, sText] : CASES)
    {
        Buffer<typename TypeParam::Char> Answer;
        this->m_Device->m_sLastError = sLastError;
        EXPECT_EQ(TypeParam::GetInfo(this->m_Device, uiCategory, Answer, uiSize), ZDV_SUCCESS) << uiCategory;
        EXPECT_EQ(Answer.Text(), sText);
    }
    Buffer<typename TypeParam::Char> Untouched;
    for (const std::uint32_t uiUnknown : {2u, 4u, 5u, 7u})
        EXPECT_EQ(TypeParam::GetInfo(this->m_Device, uiUnknown, Untouched, 64), UNKNOWN) << uiUnknown;
    EXPECT_EQ(Untouched.Written(), 0u);
}

TEST(BackupTime, IsALocalDateTheLatestOrNone)
{
    EXPECT_EQ(ParseBackupTime("15/03/2024 14:30:05"), T_2024);
    EXPECT_EQ(ParseBackupTime("31/02/2023 00:00:00"), 1677781800); // 3 March
    EXPECT_EQ(ParseBackupTime(""), 0);
    for (const char* sText :
         {"1/12/2024 23:59:59", "31/12/24 23:59:59", "31/12/2024 23:59:59 ", "31-12-2024 23:59:59",
          "00/12/2024 23:59:59", "31/13/2024 23:59:59", "31/12/2024 24:00:00", "31/12/2024 23:59",
          "yesterday", "31/12/1969 00:00:00", "01/01/1970 05:30:00"})
        EXPECT_EQ(ParseBackupTime(sText), 1) << sText;
}
