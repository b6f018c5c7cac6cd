#include "catalogue/SftpDirectories.h"

#include <gtest/gtest.h>

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
