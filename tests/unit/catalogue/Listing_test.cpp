// The process has one unfinished line for each kind of listing: every test here leaves it empty.
#include "catalogue/AreaObjectMgr.h"
#include "catalogue/Listing.h"
#include "catalogue/VersionMgr.h"
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using Pieces = std::vector<std::string>;

template <typename Manager, typename Entry> std::vector<Entry> Entries(Pieces aPieces)
{
    std::vector<Entry> aEntries;
    for (std::string& sPiece : aPieces)
        EXPECT_EQ(Manager::WriteFunction(sPiece.data(), 1, sPiece.size(), &aEntries), sPiece.size());
    return aEntries;
}

std::vector<std::int64_t> Versions(Pieces aPieces)
{
    return Entries<VersionMgr, std::int64_t>(std::move(aPieces));
}

std::vector<std::pair<std::int64_t, std::uint32_t>> Objects(Pieces aPieces)
{
    std::vector<std::pair<std::int64_t, std::uint32_t>> aObjects;
    for (const AreaObject& Object : Entries<AreaObjectMgr, AreaObject>(std::move(aPieces)))
        aObjects.emplace_back(Object.m_tDate, Object.m_uiObjectId);
    return aObjects;
}

// Hands a listing over cut in two at every place, and byte by byte.
template <typename List, typename Expected>
void ExpectHoweverCut(const List& list, const std::string& sListing, const Expected& expected)
{
    const TraceLog Silent(0);
    Pieces aBytes;
    for (std::size_t i = 0; i < sListing.size(); ++i)
    {
        EXPECT_THAT(list({sListing.substr(0, i), sListing.substr(i)}), expected) << "cut at " << i;
        aBytes.emplace_back(1, sListing[i]);
    }
    EXPECT_THAT(list(aBytes), expected);
}

} // namespace

TEST(VersionListing, KeepsWhatIsAVersionHoweverItIsCut)
{
    ExpectHoweverCut(Versions,
                     "readme.txt\r\nZELT_20240315143005\r\n.\r\n..\nZELT_ERROR\n\nZELT_2024031514300\xB9\n"
                     "ZELT_20230101000000.001\n\xC3\xA4\nZELT_2023\r0101000000\n",
                     ElementsAre(T_2024, T_2023));
}

TEST(ObjectListing, KeepsWhatIsAnObjectHoweverItIsCut)
{
    ExpectHoweverCut(Objects,
                     ".\n..\r\nZELT_20240315143005.002\r\nZELT_20240315143005\nZELT_20230101000000.001\n"
                     "ZELT_ERROR.001\nZELT_\xE4\nZELT_20240315143005.010\n",
                     ElementsAre(Pair(T_2024, 2u), Pair(T_2023, 1u), Pair(T_2024, 10u)));
}

TEST(ObjectListing, JoinsAForeignNameWithWhatFollows)
{
    // Only after a foreign name that is the beginning of the prefix can the line become empty again.
    EXPECT_THAT(Objects({"ZELT\n_20240315143005.003\nZELT_20230101000000.001\n"}),
                ElementsAre(Pair(T_2024, 3u), Pair(T_2023, 1u)));
}

TEST(Listing, CarriesAnUnfinishedLineIntoTheNextOne)
{
    EXPECT_THAT(Versions({"ZELT_20230101000000\r\nZELT_202403151"}), ElementsAre(T_2023));
    EXPECT_THAT(Objects({"ZELT_20240315143005"}), IsEmpty());
    EXPECT_THAT(Versions({"43005\r\n"}), ElementsAre(T_2024));
    EXPECT_THAT(Objects({".003\n"}), ElementsAre(Pair(T_2024, 3u)));
    // "." and ".." are dropped also after a line that was kept.
    EXPECT_THAT(Objects({"ZELT\n.\n..\n_20240315143005.003\n"}), ElementsAre(Pair(T_2024, 3u)));
}

TEST(Listing, IsEmptyWhereTheServerSaysSo)
{
    for (const char* sReply : {"550 No files found.\r\n", "550 no files\r\n", "550 Directory is empty\r\n"})
        EXPECT_TRUE(MeansEmpty(sReply)) << sReply;
    for (const char* sReply : {"", "550 Permission denied.\r\n", "550 No files found or no permission\r\n",
                               "450 No files found\r\n", "550 /backups/empty: Operation not permitted\r\n",
                               "500 NLST not understood\r\n", "550 emptied: No such file or directory\r\n",
                               "550 No such file or directory\r\n"})
        EXPECT_FALSE(MeansEmpty(sReply)) << sReply;
}

TEST(Listing, ThatFailsPutsTheLineBack)
{
    ListingLine Line{L"ZELT_2024031"};
    {
        ListingAttempt Broken(Line);
        ReceiveListing(L"", Line, "5143005\nZELT_20", &Line, 0,
                       [](const quorvel::FunctionTrace&, std::wstring& sLine, void*) { sLine.clear(); });
        EXPECT_EQ(Line.sText, L"ZELT_20");
    }
    EXPECT_EQ(Line.sText, L"ZELT_2024031");
}

// Every line begins like a label: the objects after a foreign name would not be looked at.
TEST(Listing, SurvivesHostileLines)
{
    static constexpr std::string_view PIECES[] = {"20240315143005", ".001", "ZELT_", ".",  "..", "\r", "",
                                                  "99999999999",    "7",    "\xFF",  "%s", "-1", " ",  ""};
    const TraceLog Silent(0);
    std::minstd_rand Random(4711);
    std::string sListing;
    for (int i = 0; i < 50000; ++i)
    {
        sListing += "ZELT_";
        for (int iPart = 0; iPart < 4; ++iPart)
            sListing += PIECES[Random() % std::size(PIECES)];
        sListing.append(i % 64 == 0 ? Random() % 5000 : 0, static_cast<char>(Random()));
        sListing += '\n';
    }
    EXPECT_GT(Versions({sListing}).size(), 50u);
    EXPECT_GT(Objects({sListing}).size(), 50u);
    EXPECT_THAT(Versions({"ZELT_20230101000000\n"}), ElementsAre(T_2023));
    EXPECT_THAT(Objects({"ZELT_20240315143005.003\n"}), ElementsAre(Pair(T_2024, 3u)));
}
