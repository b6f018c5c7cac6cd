#include "interface/Connection.h"
#include "tests/unit/OpenDevice.h"

#include <gtest/gtest.h>

TEST(Connection, IsRefusedForAPortThatNoneCanBe)
{
    for (const std::uint32_t uiPort : {70000u, 4294967295u})
    {
        const OpenDevice Device;
        Device->m_uiPort = uiPort;
        Device->m_sRoot = L"/a";
        EXPECT_EQ(ZDV_Utility(Device, ZDV_U_MAKE_UNIT_READY), ZDV_DEVICE_ERROR);
        EXPECT_EQ(Device->m_dwLastError, 10u);
        EXPECT_EQ(Device->m_sLastError, L"Failed to set Port");
        EXPECT_EQ(Device->m_sRoot, L"/a");
        EXPECT_FALSE(Device->m_bOkToWrite);
    }
}

TEST(Connection, NormalisesTheRoot)
{
    const std::pair<const wchar_t*, const wchar_t*> CASES[] = {
        {L"", L""},
        {L"backups/host1", L"backups/host1"},
        {L"\\backups\\host1", L"backups/host1"},
        {L"/data/", L"data/"},
        {L"//data", L"/data"},
        {L"C:\\data", L"C:/data"},
        {L"ftp://host/a://b", L"host/a://b"},
        {L"/ftp:\\\\me:pw@host\\a@b", L"host/a@b"},
    };
    const OpenDevice Device;
    for (const auto& [sTyped, sNormalised] : CASES)
    {
        Device->m_sRoot = sTyped;
        EXPECT_TRUE(DoInitEx(*Device));
        EXPECT_EQ(Device->m_sRoot, sNormalised);
    }
}
