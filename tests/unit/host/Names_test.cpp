#include "host/Errors.h"
#include "host/Names.h"
#include "host/Text.h"

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

TEST(Names, ThatAreTooLongOrTooDeepAreRefused)
{
    const auto Name = [](std::size_t uiLength, std::size_t uiParts) {
        return fmt::format("{}", fmt::join(std::vector(uiParts, std::string(uiLength, 'a')), "/"));
    };
    for (const std::string& sGood : {Name(255, 1), Name(1, 1000), Name(200, 159)})
        EXPECT_NO_THROW(RelativePath(sGood)) << sGood.size();
    for (const std::string& sBad : {Name(256, 1), Name(1, 60'000), Name(200, 160)})
        EXPECT_THROW(RelativePath(sBad), TapeError) << sBad.size();
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

TEST(WrittenNames, AreMetByNamesThatDifferInCaseOrFormOnly)
{
    WrittenNames Written;
    for (const char* pName : {"a/Readme", "a/b/x", "c/caf\xC3\xA9", "c/README", "c/d/e/f"})
    {
        EXPECT_FALSE(Written.Meet(pName)) << pName;
        Written.Add(pName);
    }
    for (const char* pName :
         {"c/d/e/f", "C/d/e/f", "c/D/x", "c/d/e/F", "c/readme", "c/cafe\xCC\x81", "A/x", "a/README"})
        EXPECT_TRUE(Written.Meet(pName)) << pName;
    for (const char* pName : {"c/d/e/g", "c/x", "c/cafe", "x"})
        EXPECT_FALSE(Written.Meet(pName)) << pName;
}

TEST(Quoted, HidesControlCharacters)
{
    EXPECT_EQ(Quoted("a\x1B[2J\xE2\x80\xAE\xFFz"), "\"a?[2J?\xEF\xBF\xBDz\"");
}
