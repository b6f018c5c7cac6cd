#include "interface/Connection.h"
#include "tests/unit/OpenDevice.h"

#include <gtest/gtest.h>

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
