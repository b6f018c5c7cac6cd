#include "host/Errors.h"
#include "host/Names.h"

#include <gtest/gtest.h>

TEST(Names, ThatCouldLeadOutOfAFolderOrToADeviceAreRefused)
{
    for (const char* pGood : {"a", "a/b c/.hidden", "dots...", "blank ", "#;=&[1]", "nullary", "com0",
                              "com10", "COM", "LPTx", "auxiliary.txt", "a/ con/b", "CO\xC3\x91"})
        EXPECT_NO_THROW(RelativePath(pGood)) << pGood;
    EXPECT_EQ(RelativePath("Gr\xC3\xBC\xC3\x9F\x65/e\xCC\x81"),
              L"Gr\x00FC\x00DF\x65\\e\x0301"); // not composed
    for (const char* pBad :
         {"",          "/",        "a/",   "/a",      "a//b",        ".",           "..",
          "../a",      "a/../b",   "...",  "a/. ./b", "a\\b",        "C:",          "C:/a",
          "C:a",       "a:stream", "a*",   "a?",      "a\"b",        "a<b",         "a>b",
          "a|b",       "e\nvil",   "\x1F", "NUL",     "nul.txt",     "con",         "CONIN$",
          "conout$.x", "prn .x",   "aux",  "a/COM1",  "lpt9.tar.gz", "com\xC2\xB2", "LPT\xC2\xB9 .x"})
        EXPECT_THROW(RelativePath(pBad), TapeError) << pBad;
}

TEST(Names, HaveLimits)
{
    const auto Repeated = [](const std::string& sPart, std::size_t uiCount) {
        std::string sName = sPart;
        for (std::size_t i = 1; i < uiCount; ++i)
            sName += '/' + sPart;
        return sName;
    };
    EXPECT_NO_THROW(RelativePath(std::string(255, 'a')));
    EXPECT_THROW(RelativePath(std::string(256, 'a')), TapeError);
    EXPECT_NO_THROW(RelativePath(Repeated("a", 1000)));
    EXPECT_THROW(RelativePath(Repeated("a", 60'000)), TapeError);
    EXPECT_NO_THROW(RelativePath(Repeated(std::string(200, 'a'), 159)));
    EXPECT_THROW(RelativePath(Repeated(std::string(200, 'a'), 160)), TapeError);
}

TEST(Patterns, MeanNamesAndWhatLiesBelowThem)
{
    const std::tuple<std::string, std::string, bool> CASES[] = {
        {"*.tmp", "a/b/C.TMP", true},
        {"*.tmp", "a/b.tmp/c", true},
        {"*.tmp", "a/b.tmpx", false},
        {"b", "a/b/c", true},
        {"a/b", "a/b/c", true},
        {"a/b", "x/a/b", false},
        {"A\\B\\", "a/b", true},
        {"/a", "a", false},
        {"C:\\a", "C/a", false},
        {"a/*.txt", "a/b/c.txt", true}, // in a whole name "*" passes folders
        {"a/?/c", "a///c", true},
        {"gr?\xC3\x9F*", "x/GR\xC3\x9C\xC3\x9F\x65", true},
        {"*a*b*c*", "xaxbxcx", true},
        {"*a*b*c*", "xaxcxbx", false},
        {"*?", "", false},
        {"a**b", "ab", true},
        {"*", "x", true},
        {"", "x", false},
    };
    for (const auto& [sPattern, sName, bMatches] : CASES)
        EXPECT_EQ(Patterns({sPattern}).Match(sName), bMatches) << sPattern << " and " << sName;
    const std::string sLong(32'000, 'a');
    EXPECT_FALSE(Patterns({"*a*a*a*a*a*a*b"}).Match(sLong));
    EXPECT_TRUE(Patterns({sLong}).Match(sLong));
}

TEST(Patterns, TellWhichOfThemMatchedNothing)
{
    Patterns Given({"*.x", "a", "None/*"});
    EXPECT_TRUE(Given.Match("a/b.x"));
    EXPECT_FALSE(Given.Match("c"));
    EXPECT_EQ(Given.Unmatched(), std::vector<std::string>{"None/*"});
    EXPECT_TRUE(Patterns({}).Empty());
}

TEST(WrittenNames, MeetThoseThatAFileSystemMayTakeForThem)
{
    WrittenNames Written;
    for (const char* pName : {"a/Readme", "a/b/x", "a/caf\xC3\xA9", "c/d/e/f"})
    {
        EXPECT_FALSE(Written.Meet(pName)) << pName;
        Written.Add(pName);
    }
    for (const char* pName : {"c/d/e/f", "C/d/e/f", "c/D/x", "c/d/e/F", "A/x", "a/README"})
        EXPECT_TRUE(Written.Meet(pName)) << pName;
    for (const char* pName : {"c/d/e/g", "c/x", "x"})
        EXPECT_FALSE(Written.Meet(pName)) << pName;
    WrittenNames Folder;
    for (const char* pName : {"a/README", "a/sub/x", "a/caf\xC3\xA9"})
        Folder.Add(pName);
    EXPECT_TRUE(Folder.Meet("a/readme"));
    EXPECT_TRUE(Folder.Meet("a/cafe\xCC\x81")); // decomposed
    EXPECT_FALSE(Folder.Meet("a/cafe"));
}
