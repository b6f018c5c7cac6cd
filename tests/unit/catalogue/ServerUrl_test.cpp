#include "catalogue/ServerUrl.h"

#include "catalogue/SftpDirectories.h"
#include "tests/unit/OpenDevice.h"

#include <gtest/gtest.h>
#include <tuple>

TEST(SftpDirectories, AreThoseThatTheTransferUses)
{
    const std::pair<const wchar_t*, std::vector<std::string>> CASES[] = {
        {L"ftp://host/", {}},
        {L"sftp://host", {}},
        {L"sftp://host/~/", {}},
        {L"sftp://host/a/b/", {"/a", "/a/b"}},
        {L"sftp://host//srv//b/", {"//srv", "//srv//b"}},
        {L"sftp://host/~/a/b/", {"a", "a/b"}},
        {L"sftp://host/~//a/", {"a"}}, // libcurl looks below the login directory here too
        {L"sftp://host/~a/", {"/~a"}},
        {L"sftp://u:p@host:22/a b/\x00E4/c%20d/", {"/a b", "/a b/\xC3\xA4", "/a b/\xC3\xA4/c d"}},
        {L"sftp://host/a\"\\b/", {"/a\"\\b"}},
    };
    for (const auto& [sURL, aDirectories] : CASES)
        EXPECT_EQ(DirectoriesOf(sURL), aDirectories) << sURL;
}

TEST(ServerUrl, JoinsServerRootAndObject)
{
    const OpenDevice Device;
    Device->m_CurrentVersion = Version(T_2024);
    Device->m_AreaObjectList = {{T_2024, 1}, {T_2024 + 7, 2}};
    Device->m_uiCurrentObject = 2;
    const std::tuple<const wchar_t*, const wchar_t*, std::wstring> CASES[] = {
        {L"host", L"backups/a", L"ftp://host/backups/a"},
        {L"[::1]", L"a", L"ftp://[::1]/a"},
        {L"host", L"", L"ftp://host"},
        {L"host/", L"a", L"ftp://host/a"},
        {L"host", L"/a", L"ftp://host//a"}};
    for (const auto& [sServer, sRoot, sRootUrl] : CASES)
    {
        Device->m_sServer = sServer;
        Device->m_sRoot = sRoot;
        EXPECT_EQ(RootUrl(*Device), sRootUrl);
        EXPECT_EQ(ObjectUrl(*Device), sRootUrl + L"/ZELT_20240315143005/ZELT_20240315143012.002");
    }
}
