// Transfers beside other programs on the machine, for all of which the pipes have the same names.
#include "tests/tape/Neighbour.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr int TRANSFERS = 3;

// A transfer is whole, or the module says that there was none, and why.
bool RefusedInWords(Tape& tape)
{
    const std::wstring sText = tape.ErrorText();
    if (tape.ErrorCode() != 0 &&
        (sText.starts_with(L"ERROR: Couldn't connect ") || sText.starts_with(L"ERROR: Couldn't create ")))
        return true;
    ADD_FAILURE() << tape.ErrorCode() << " " << testing::PrintToString(sText);
    return false;
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
            EXPECT_TRUE(server::Content(Entry.path()) == aObject) << Entry.path();
            ++iWhole;
        }
    EXPECT_EQ(iWhole, iWritten);
}

INSTANTIATE_TEST_SUITE_P(, Stranger, testing::Values(L"opens pipes", L"offers pipes"));

// One upload and one download run at a time: a second one is refused, and the first one is whole.
class TwoAtOnce : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(m_Tape.MakeReady(), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.WriteObject(m_aObject), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << m_Tape.ErrorText();
    }
    ZDV_STATUS Transfer(Tape& tape)
    {
        return GetParam() ? tape.Write(m_aObject) : tape.Read(OBJECT_BLOCKS, m_aRead);
    }
    void ExpectRefused()
    {
        EXPECT_EQ(Transfer(m_Tape), ZDV_DEVICE_ERROR);
        EXPECT_TRUE(RefusedInWords(m_Tape));
    }
    // In both directions, once the other transfer has ended.
    void ExpectWorks()
    {
        ASSERT_EQ(m_Tape.Position(ZDV_SP_EORM), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.WriteObject(m_aObject), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.Read(OBJECT_BLOCKS, m_aRead), ZDV_SUCCESS) << m_Tape.ErrorText();
        EXPECT_TRUE(m_aRead == m_aObject);
    }

    static constexpr std::size_t OBJECT_BLOCKS = 8;
    const Blocks m_aObject = SomeBlocks(OBJECT_BLOCKS, 31);
    Blocks m_aRead;
    Tape m_Tape{server::Root(L"second")};
};

TEST_P(TwoAtOnce, InTwoProcesses)
{
    Neighbour host(GetParam() ? L"uploads" : L"downloads");
    ExpectRefused();
    EXPECT_EQ(host.Stop(), neighbour::DONE);
    ExpectWorks();
}

TEST_P(TwoAtOnce, OnTwoDevicesOfOneProcess)
{
    Tape first(server::Root(L"second"));
    ASSERT_EQ(first.MakeReady(), ZDV_SUCCESS) << first.ErrorText();
    ASSERT_EQ(first.Position(ZDV_SP_BOM), ZDV_SUCCESS) << first.ErrorText();
    ASSERT_EQ(Transfer(first), ZDV_SUCCESS) << first.ErrorText();
    ExpectRefused();
    EXPECT_EQ(first.Filemark(), 0u) << first.ErrorText();
    ExpectWorks();
}

INSTANTIATE_TEST_SUITE_P(, TwoAtOnce, testing::Bool());
