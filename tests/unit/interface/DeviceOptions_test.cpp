#include "tests/unit/BothWidths.h"
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::HasSubstr;

namespace {

template <typename Api> class DeviceOptions : public testing::Test
{
protected:
    using Char = typename Api::Char;

    ZDV_STATUS Set(std::int32_t uiCategory, const std::string& sText)
    {
        return Api::SetOptions(m_Device, uiCategory, Api::Text(sText).c_str());
    }
    ZDV_STATUS Get(std::int32_t uiCategory, std::uint32_t uiIndex, std::uint32_t uiCharacters)
    {
        m_Buffer = {};
        return Api::GetOptions(m_Device, uiCategory, uiIndex, m_Buffer, uiCharacters * sizeof(Char));
    }

    OpenDevice m_Device;
    Buffer<Char> m_Buffer;
};

TYPED_TEST_SUITE(DeviceOptions, BothWidths);

} // namespace

TYPED_TEST(DeviceOptions, BracketAnAddressForUrlsOnly)
{
    const std::tuple<const char*, const wchar_t*, const char*> CASES[] = {
        {"ftp.example.com", L"ftp.example.com", "ftp.example.com"},
        {"fe80::1", L"[fe80::1]", "fe80::1"},
        {"[::1]", L"[::1]", "::1"},
        {"host:21", L"[host:21]", "host:21"},
        {"[fe80::1", L"[fe80::1", "fe80::1"},
        {"fe80::1]", L"fe80::1]", "fe80::1"},
        {"[", L"[", ""},
        {"", L"", ""},
    };
    for (const auto& [sSet, sStored, sGot] : CASES)
    {
        EXPECT_EQ(this->Set(ZDV_FTP_SERVERNAME, sSet), ZDV_SUCCESS);
        EXPECT_EQ(this->m_Device->m_sServer, sStored);
        EXPECT_EQ(this->Get(ZDV_INTERFACES, 0, 64), ZDV_SUCCESS);
        EXPECT_EQ(this->m_Buffer.Text(), sGot);
    }
}

TYPED_TEST(DeviceOptions, GiveTheComputerNameInFullOrNotAtAll)
{
    Buffer<char> Expected;
    DWORD dwLength = 64;
    ASSERT_TRUE(GetComputerNameA(Expected, &dwLength));
    Buffer<typename TypeParam::Char> Name;
    const TraceLog Log;
    EXPECT_EQ(TypeParam::GetOptions(this->m_Device, ZDV_ADAPTERS, 0, Name, 1), 0x40000002);
    EXPECT_THAT(Log.Lines(), Contains(HasSubstr(" : GetComputerName() failed : dwLastError = 111")));
    // In characters for both: the wide function does not halve it here.
    EXPECT_EQ(TypeParam::GetOptions(this->m_Device, ZDV_ADAPTERS, 0, Name, dwLength + 1), ZDV_SUCCESS);
    EXPECT_EQ(Name.Text(), Expected.Text());
}

TEST(WideDeviceOptions, CountTheBufferInBytesAndGiveWhatTheNarrowOnesGive)
{
    const OpenDevice Device;
    Buffer<wchar_t> Unit, Server;
    EXPECT_EQ(ZDV_GetDeviceOptionsW(Device, ZDV_UNITS, 0, Unit, 1), ZDV_SUCCESS);
    EXPECT_EQ(Unit.Written(), 0u);
    EXPECT_EQ(ZDV_GetDeviceOptionsW(Device, ZDV_UNITS, 0, Unit, 11), ZDV_SUCCESS);
    EXPECT_EQ(Unit.Text(), "Defa");
    EXPECT_EQ(ZDV_SetDeviceOptionsW(Device, ZDV_FTP_SERVERNAME, L"h\x20ACst"), ZDV_SUCCESS);
    EXPECT_EQ(Device->m_sServer, L"h\x20ACst");
    EXPECT_EQ(ZDV_GetDeviceOptionsW(Device, ZDV_INTERFACES, 0, Server, 64), ZDV_SUCCESS);
    EXPECT_EQ(Server.Text(), "h?st");
}
