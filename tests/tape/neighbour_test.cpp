// Transfers beside what else runs on the machine: the pipes' names are one for all its programs.
#include "tests/tape/Neighbour.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

constexpr int TRANSFERS = 3;

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
    void Read(const std::wstring& sFolder, const Blocks& aObject)
    {
        Tape tape(server::Root(sFolder));
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        for (int i = 0; i < TRANSFERS; ++i)
        {
            Blocks aRead;
            EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
            EXPECT_EQ(tape.Position(ZDV_SP_FFM, i), ZDV_SUCCESS);
            const bool bMade = tape.Read(aObject.size() / ZDV_BLOCK_SIZE, aRead) == ZDV_SUCCESS;
            EXPECT_TRUE(bMade ? aRead == aObject : RefusedInWords(tape)) << i;
        }
    }
    // How many of the transfers were made.
    int Write(const std::wstring& sFolder, const Blocks& aObject)
    {
        int iMade = 0;
        if (server::HasStore())
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
    int iWritten = 0;
    do
    {
        Read(sBefore, aObject);
        iWritten = Write(sBeside, aObject);
    } while (!stranger.HasMet());
    EXPECT_EQ(stranger.Stop(), neighbour::DONE);
    if (!server::HasStore())
        return;
    int iWhole = 0;
    for (const auto& Entry : std::filesystem::recursive_directory_iterator(server::Store(sBeside)))
        if (Entry.is_regular_file())
        {
            EXPECT_TRUE(Content(Entry.path()) == aObject) << Entry.path();
            ++iWhole;
        }
    EXPECT_EQ(iWhole, iWritten);
}

INSTANTIATE_TEST_SUITE_P(, Stranger, testing::Values(L"opens pipes", L"offers pipes"));

// One upload and one download run at a time: the second is refused, the first one is whole.
TEST(TwoAtOnce, InTwoProcesses)
{
    const Blocks aObject = SomeBlocks(8, 31);
    for (const bool bUpload : {true, false})
    {
        Neighbour host(bUpload ? L"uploads" : L"downloads");
        Tape tape(server::Root(L"two processes"));
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        Blocks aRead;
        EXPECT_EQ(bUpload ? tape.Write(aObject) : tape.Read(8, aRead), ZDV_DEVICE_ERROR);
        EXPECT_TRUE(RefusedInWords(tape));
        EXPECT_EQ(host.Stop(), neighbour::DONE);
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS) << "it works afterwards: " << tape.ErrorText();
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.Read(8, aRead), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_TRUE(aRead == aObject);
    }
}

TEST(TwoAtOnce, OnTwoDevicesOfOneProcess)
{
    const Blocks aObject = SomeBlocks(8, 32);
    Tape first(server::Root(L"first device"));
    Tape second(server::Root(L"second device"));
    for (Tape* const pTape : {&first, &second})
        ASSERT_EQ(pTape->MakeReady(), ZDV_SUCCESS) << pTape->ErrorText();
    ASSERT_EQ(first.Write(aObject), ZDV_SUCCESS) << first.ErrorText();
    EXPECT_EQ(second.Write(aObject), ZDV_DEVICE_ERROR);
    EXPECT_TRUE(RefusedInWords(second));
    ASSERT_EQ(first.Filemark(), 0u) << first.ErrorText();
    for (Tape* const pTape : {&second, &first})
    {
        ASSERT_EQ(pTape->Position(ZDV_SP_EORM), ZDV_SUCCESS) << pTape->ErrorText();
        ASSERT_EQ(pTape->WriteObject(aObject), ZDV_SUCCESS) << pTape->ErrorText();
        ASSERT_EQ(pTape->Position(ZDV_SP_BOM), ZDV_SUCCESS) << pTape->ErrorText();
    }
    Blocks aRead;
    ASSERT_EQ(second.Read(8, aRead), ZDV_SUCCESS) << second.ErrorText();
    ASSERT_EQ(second.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(first.Read(1, aRead), ZDV_SUCCESS) << first.ErrorText();
    EXPECT_EQ(second.Read(8, aRead), ZDV_DEVICE_ERROR);
    EXPECT_TRUE(RefusedInWords(second));
    ASSERT_EQ(first.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(second.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(second.Read(8, aRead), ZDV_SUCCESS) << second.ErrorText();
    EXPECT_TRUE(aRead == aObject);
}
