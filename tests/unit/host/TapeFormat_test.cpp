#include "host/TapeFormat.h"

#include <gtest/gtest.h>

namespace {

const Entry FILE_ENTRY{.path = "a/e\xCC\x81",
                       .type = Kind::File,
                       .size = 5,
                       .mtime = 1,
                       .sha256 = "00",
                       .state = State::Changed,
                       .problem = "why"};

std::string Sealed(const std::string& sHead) { return Seal(sHead + '\n'); }

} // namespace

TEST(Record, ComesBackAsItWasWritten)
{
    const Head First{
        .zdv = RecordKind::Manifest, .id = "1", .state = AreaState::Partial, .abandoned = {2, 3}};
    const Entry Link{.path = "l", .type = Kind::FolderLink, .link = "x", .state = State::Noted};
    const std::string sSealed = Seal(ToLine(First) + ToLine(FILE_ENTRY) + ToLine(Link));
    EXPECT_EQ(sSealed.size(), ZDV_BLOCK_SIZE);
    const Record Read = ParseRecord(sSealed);
    EXPECT_TRUE(Read.Intact());
    EXPECT_EQ(ToLine(Read.First), ToLine(First));
    std::string_view sLines = Read.sEntries;
    EXPECT_EQ(ToLine(TakeEntry(sLines).value()), ToLine(FILE_ENTRY));
    EXPECT_EQ(ToLine(TakeEntry(sLines).value()), ToLine(Link));
    EXPECT_FALSE(TakeEntry(sLines));
    EXPECT_EQ(ToLine(Link), R"({"link":"x","path":"l","state":"noted","type":"folderlink"})"
                            "\n");
}

TEST(Record, ThatIsDamagedIsNotRead)
{
    const std::string sSealed = Seal(ToLine(Head{.zdv = RecordKind::Volume, .id = "1"}) + ToLine(FILE_ENTRY));
    const std::size_t uiLength = sSealed.find_last_not_of('\n') + 1;
    for (std::size_t ui = 0; ui < uiLength; ++ui)
    {
        std::string sDamaged = sSealed;
        sDamaged[ui] ^= 1;
        EXPECT_THROW(ParseRecord(sDamaged), TapeError) << ui;
        EXPECT_THROW(ParseRecord(sSealed.substr(0, ui)), TapeError) << ui;
    }
}

TEST(Record, OfStrangeContentIsRefused)
{
    for (const std::string& sHead :
         {std::string("[]"), std::string("1"), std::string(R"({"area":"one"})"),
          std::string(R"({"paths":7})"), R"({"x":")" + std::string(2'000'000, 'a') + "\"}",
          R"({"x":)" + std::string(1'000'000, '[') + std::string(1'000'000, ']') + '}'})
        EXPECT_THROW(ParseRecord(Sealed(sHead)), TapeError) << sHead.substr(0, 20);
    EXPECT_THROW(ParseRecord(Sealed(R"({"zdv":"volume","format":2,"program":"zdv 9","area":"one"})")),
                 UnknownFormat);
    EXPECT_EQ(ParseRecord(Sealed(R"({"zdv":"something new","later":[1]})")).First.zdv, RecordKind::Unknown);
    for (std::string_view sLines : {"7\n", "{\n", R"({"path":7})", R"({"size":{}})"})
        EXPECT_THROW(TakeEntry(sLines), TapeError);
    std::string_view sLater = R"({"path":"a","type":"socket","state":"elsewhere","acl":{}})";
    const Entry What = TakeEntry(sLater).value();
    EXPECT_EQ(std::tuple(What.type, What.state), std::tuple(Kind::Unknown, State::Unknown));
}
