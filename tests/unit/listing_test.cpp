// The line that a listing leaves unfinished is one for the process: every test here leaves it empty.
#include "catalogue/AreaObjectMgr.h"
#include "catalogue/VersionMgr.h"
#include "interface/Connection.h"
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
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

TEST(VersionListing, TracesWhatItAddsAndSkips)
{
    const TraceLog Log;
    Versions({"a\xC3\nZELT_20230101000000\n..\n"});
    EXPECT_THAT(Log.Lines(),
                Contains("[V]: VersionMgr::WriteFunction : Skipping ... : sLabel = 'a\xEF\xBF\x83'"));
    EXPECT_THAT(Log.Lines(),
                Contains("[V]: VersionMgr::WriteFunction : Adding ... : sLabel = 'ZELT_20230101000000'"));
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
    // A foreign name that completes the prefix is the only one after which the line is ever empty again.
    EXPECT_THAT(Objects({"ZELT\n_20240315143005.003\nZELT_20230101000000.001\n"}),
                ElementsAre(Pair(T_2024, 3u), Pair(T_2023, 1u)));
}

TEST(Listing, CarriesAnUnfinishedLineIntoTheNextOne)
{
    EXPECT_THAT(Versions({"ZELT_20230101000000\r\nZELT_202403151"}), ElementsAre(T_2023));
    EXPECT_THAT(Objects({"ZELT_20240315143005"}), IsEmpty());
    EXPECT_THAT(Versions({"43005\r\n"}), ElementsAre(T_2024));
    EXPECT_THAT(Objects({".003\n"}), ElementsAre(Pair(T_2024, 3u)));
}

TEST(Listing, AbortsTheTransferWithoutAList)
{
    char aLine[] = "x";
    EXPECT_EQ(VersionMgr::WriteFunction(aLine, 1, 1, nullptr), 0u);
    EXPECT_EQ(AreaObjectMgr::WriteFunction(aLine, 1, 1, nullptr), static_cast<std::size_t>(-1));
    std::vector<std::int64_t> aVersions;
    char aListing[] = "ZELT_20240315143005\n";
    EXPECT_EQ(VersionMgr::WriteFunction(aListing, 4, 5, &aVersions), 20u);
    EXPECT_THAT(aVersions, ElementsAre(T_2024));
}

TEST(Catalogue, RefusesWhatItCannotAskFor)
{
    std::vector<std::int64_t> aVersions;
    std::vector<AreaObject> aObjects;
    VersionMgr Mgr(nullptr, L"ftp://");
    AreaObjectMgr ObjectMgr(nullptr);
    const auto Refused = [](bool bDone, const auto& Manager, const wchar_t* sError) {
        EXPECT_FALSE(bDone) << sError;
        EXPECT_EQ(Manager.m_dwLastError, 87u) << sError;
        EXPECT_EQ(Manager.m_sLastError, sError);
    };
    Refused(Mgr.GetVersionList(L"", aVersions), Mgr, L"Empty URL");
    Refused(Mgr.GetVersionList(L"u", aVersions), Mgr, L"NULL cURL handle");
    Refused(Mgr.CreateVersion(L"h", L"", Version()), Mgr, L"Empty root supplied");
    Refused(Mgr.CreateVersion(L"h", L"r", Version()), Mgr, L"NULL cURL handle");
    Refused(ObjectMgr.GetAreaObjectList(L"", L"l", aObjects), ObjectMgr, L"Empty URL");
    Refused(ObjectMgr.GetAreaObjectList(L"u", L"", aObjects), ObjectMgr, L"Empty Version Label");
    Refused(ObjectMgr.GetAreaObjectList(L"u", L"l", aObjects), ObjectMgr, L"NULL cURL handle");
}

TEST(Catalogue, AsksForAVersionsDirectoryAndReportsTheTransfer)
{
    const OpenDevice Device;
    ASSERT_TRUE(DoInitEx(*Device));
    const TraceLog Log;
    VersionMgr Manager(Device->m_pCurl, REFUSED_SCHEME);
    EXPECT_FALSE(Manager.CreateVersion(L"host", L"backups", Version(T_2024)));
    EXPECT_EQ(Manager.m_dwLastError, 1u);
    EXPECT_THAT(Manager.m_sLastError, testing::StartsWith(L"Couldn't perform operation ["));
    EXPECT_THAT(Log.Lines(), Contains(HasSubstr("'nowhere://host/backups/ZELT_20240315143005/'")));
}
