// Transfers beside what else runs on the machine: the pipes' names are one for all its programs.
#include "tests/tape/Neighbour.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

constexpr int TRANSFERS = 5;

// A transfer is whole, or there was none: the module says that and why.
bool RefusedInWords(Tape& tape)
{
    const std::wstring sText = tape.ErrorText();
    if (tape.ErrorCode() != 0 &&
        (sText.starts_with(L"ERROR: Couldn't connect ") || sText.starts_with(L"ERROR: Couldn't create ")))
        return true;
    ADD_FAILURE() << tape.ErrorCode() << " " << testing::PrintToString(sText);
    return false;
}

// What a file of the store holds.
Blocks Content(const std::filesystem::path& Path)
{
    std::ifstream File(Path, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

class Stranger : public testing::TestWithParam<const wchar_t*>
{
protected:
    // How many of the transfers were made.
    int Read(const std::wstring& sFolder, const Blocks& aObject)
    {
        int iMade = 0;
        Tape tape(server::Root(sFolder));
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        for (int i = 0; i < TRANSFERS; ++i)
        {
            Blocks aRead;
            EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
            EXPECT_EQ(tape.Position(ZDV_SP_FFM, i), ZDV_SUCCESS);
            const bool bMade = tape.Read(aObject.size() / ZDV_BLOCK_SIZE, aRead) == ZDV_SUCCESS;
            EXPECT_TRUE(bMade ? aRead == aObject : RefusedInWords(tape)) << i;
            iMade += bMade ? 1 : 0;
        }
        return iMade;
    }
    int Write(const std::wstring& sFolder, const Blocks& aObject)
    {
        int iMade = 0;
        std::filesystem::remove_all(server::Store(sFolder));
        Tape tape(server::Root(sFolder));
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        for (int i = 0; i < TRANSFERS; ++i)
        {
            EXPECT_EQ(tape.Position(ZDV_SP_EORM), ZDV_SUCCESS) << tape.ErrorText();
            const bool bMade = tape.WriteObject(aObject) == ZDV_SUCCESS;
            EXPECT_TRUE(bMade || RefusedInWords(tape)) << i;
            iMade += bMade ? 1 : 0;
        }
        return iMade;
    }
};

} // namespace

TEST_P(Stranger, GetsNothingAndGivesNothing)
{
    const Blocks aObject = SomeBlocks(3, 21);
    const std::wstring sBefore = L"before " + std::wstring(GetParam());
    const std::wstring sBeside = L"beside " + std::wstring(GetParam());
    ASSERT_EQ(Write(sBefore, aObject), TRANSFERS);
    Neighbour stranger(GetParam());
    const int iRead = Read(sBefore, aObject);
    const int iWritten = Write(sBeside, aObject);
    EXPECT_EQ(stranger.Stop(), neighbour::MET_SOMEBODY);
    EXPECT_GT(iRead + iWritten, 0);
    int iWhole = 0;
    for (const auto& Entry : std::filesystem::recursive_directory_iterator(server::Store(sBeside)))
        if (Entry.is_regular_file() && Entry.file_size() != 0)
        {
            EXPECT_TRUE(Content(Entry.path()) == aObject) << Entry.path();
            ++iWhole;
        }
    EXPECT_EQ(iWhole, iWritten);
    std::printf("read %d written %d\n", iRead, iWritten);
}

INSTANTIATE_TEST_SUITE_P(, Stranger, testing::Values(L"opens pipes", L"offers pipes"));
