// What must work on every server and with every scheme: backups are written, listed, chosen and read back.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

const std::vector<std::size_t> OBJECT_BLOCKS = {1, 1, 17, 2, 3};

std::vector<Blocks> SomeObjects(unsigned uiSeed)
{
    std::vector<Blocks> aObjects;
    for (const std::size_t uiBlocks : OBJECT_BLOCKS)
        aObjects.push_back(SomeBlocks(uiBlocks, uiSeed++));
    return aObjects;
}

void WriteObjects(Tape& tape, const std::vector<Blocks>& aObjects)
{
    // Block by block: libcurl must get a full buffer, however small the host's writes are.
    for (const Blocks& aObject : aObjects)
    {
        for (auto Block = aObject.begin(); Block != aObject.end(); Block += ZDV_BLOCK_SIZE)
            ASSERT_EQ(tape.Write({Block, Block + ZDV_BLOCK_SIZE}), ZDV_SUCCESS);
        EXPECT_EQ(tape.Property(ZDV_P_GET_CUR_BLK_ADDR), aObject.size() / ZDV_BLOCK_SIZE);
        ASSERT_EQ(tape.Filemark(), 0u) << tape.ErrorText();
        EXPECT_EQ(tape.Property(ZDV_P_GET_CUR_BLK_ADDR), 0u);
    }
}

// Reads up to the next object: the filemark is reported twice after data and once after a header.
void ReadFilemark(Tape& tape, bool bHeader)
{
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    EXPECT_EQ(aRead.front(), static_cast<char>(0xEE)) << "more data than was written";
    if (!bHeader)
    {
        ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    }
}

bool IsHeader(std::size_t uiObject) { return uiObject == 1 || (uiObject + 1) % 3 == 0; }

void ReadBack(Tape& tape, std::size_t uiObject, const Blocks& aObject)
{
    SCOPED_TRACE(uiObject);
    Blocks aRead;
    if (!aObject.empty())
    {
        ASSERT_EQ(tape.Read(aObject.size() / ZDV_BLOCK_SIZE, aRead), ZDV_SUCCESS) << tape.ErrorText();
    }
    ASSERT_TRUE(aRead == aObject);
    ASSERT_NO_FATAL_FAILURE(ReadFilemark(tape, IsHeader(uiObject)));
}

void ReadBackAll(Tape& tape, const std::vector<Blocks>& aObjects)
{
    for (std::size_t i = 0; i < aObjects.size(); ++i)
        ASSERT_NO_FATAL_FAILURE(ReadBack(tape, i + 1, aObjects[i]));
}

// Two versions of the same second would have the same name.
void AwaitNextSecond()
{
    for (const std::time_t tStart = std::time(nullptr); std::time(nullptr) == tStart;)
        Sleep(10); // milliseconds
}

std::wstring AsBackupTime(const std::wstring& sLabel)
{
    const auto Part = [&](std::size_t uiFrom, std::size_t uiLength) {
        return sLabel.substr(5 + uiFrom, uiLength);
    };
    return Part(6, 2) + L"/" + Part(4, 2) + L"/" + Part(0, 4) + L" " + Part(8, 2) + L":" + Part(10, 2) +
           L":" + Part(12, 2);
}

class Story : public testing::Test
{
protected:
    const std::wstring m_sFolder = L"zelt backups/Büro № 1 #2";
    const std::wstring m_sRoot = server::Root(m_sFolder);
    const std::vector<Blocks> m_aFirst = SomeObjects(1);
    const std::vector<Blocks> m_aSecond = SomeObjects(100);
};

} // namespace

TEST_F(Story, BackupIsWrittenListedChosenAndReadBack)
{
    std::vector<std::wstring> aVersions;
    {
        SCOPED_TRACE("backup onto a root that does not exist");
        Tape tape(m_sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_TRUE(tape.Versions().empty());
        Blocks aRead;
        EXPECT_EQ(tape.Read(1, aRead), ZDV_BLANK_CHECK);
        ASSERT_NO_FATAL_FAILURE(WriteObjects(tape, m_aFirst));
        aVersions = tape.Versions();
    }
    if (server::HasStore())
    {
        SCOPED_TRACE("what the server holds");
        ASSERT_EQ(server::Names(m_sFolder), aVersions);
        const auto aNames = server::Names(m_sFolder + L"/" + aVersions[0]);
        ASSERT_EQ(aNames.size(), OBJECT_BLOCKS.size());
        EXPECT_EQ(aNames[0], aVersions[0] + L".001") << "the volume header carries the version's date";
        for (const std::wstring& sName : aNames)
        {
            const auto uiObject = static_cast<std::size_t>(std::stoi(sName.substr(20)));
            EXPECT_EQ(fs::file_size(server::Store(m_sFolder + L"/" + aVersions[0] + L"/" + sName)),
                      OBJECT_BLOCKS.at(uiObject - 1) * ZDV_BLOCK_SIZE)
                << uiObject;
        }
    }
    {
        SCOPED_TRACE("restore, append, space");
        Tape tape(m_sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_NO_FATAL_FAILURE(ReadBackAll(tape, m_aFirst));
        Blocks aRead;
        EXPECT_EQ(tape.Read(1, aRead), ZDV_END_OF_MEDIA);

        Blocks aAppended = SomeBlocks(3, 50);
        aAppended.pop_back();
        ASSERT_EQ(tape.Position(ZDV_SP_EORM), ZDV_SUCCESS);
        ASSERT_EQ(tape.WriteObject(aAppended), ZDV_SUCCESS) << tape.ErrorText();
        aAppended.resize(2 * ZDV_BLOCK_SIZE); // only whole blocks are written
        ASSERT_EQ(tape.WriteFilemarks(2), ZDV_SUCCESS) << "which make no object at the end";
        // The only way to an empty object for a host: a further filemark before the last object.
        ASSERT_EQ(tape.Position(ZDV_SP_EORM), ZDV_SUCCESS);
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, -2), ZDV_SUCCESS);
        ASSERT_EQ(tape.WriteFilemarks(2), ZDV_SUCCESS);
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
        ASSERT_EQ(tape.Read(5, aRead), ZDV_SUCCESS);
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, 1), ZDV_SUCCESS) << "over an object that is only half read";
        ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 4, m_aFirst[3]));
        ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 5, m_aFirst[4]));
        ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 6, aAppended));
        EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        EXPECT_EQ(tape.ErrorText(), L"ERROR: ") << "an empty object is not a failed one";
        EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        EXPECT_EQ(tape.Read(1, aRead), ZDV_END_OF_MEDIA);
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, -20), ZDV_SUCCESS) << "to before the beginning";
        EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        EXPECT_EQ(tape.Read(1, aRead), ZDV_END_OF_MEDIA);
    }
    {
        SCOPED_TRACE("a second version beside the first");
        if (server::HasStore())
        {
            fs::create_directory(server::Store(m_sFolder + L"/foreign folder"));
            ASSERT_TRUE(std::ofstream(server::Store(m_sFolder + L"/ZELT_readme.txt")));
        }
        AwaitNextSecond();
        Tape tape(m_sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.Erase(), ZDV_SUCCESS);
        Blocks aRead;
        EXPECT_EQ(tape.Read(1, aRead), ZDV_BLANK_CHECK);
        EXPECT_EQ(tape.Versions(), aVersions) << "the server's, which are kept";
        ASSERT_NO_FATAL_FAILURE(WriteObjects(tape, m_aSecond));
        aVersions = tape.Versions();
        ASSERT_EQ(aVersions.size(), 2u);
    }
    {
        SCOPED_TRACE("choice between them by time, before and after making ready");
        Tape tape(m_sRoot);
        tape.AskForBackup(AsBackupTime(aVersions[0]));
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 1, m_aFirst[0]));
        tape.AskForBackup(L"");
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_EQ(tape.Versions(), aVersions);
        ASSERT_NO_FATAL_FAILURE(ReadBackAll(tape, m_aSecond));
        tape.AskForBackup(AsBackupTime(aVersions[0]));
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_NO_FATAL_FAILURE(ReadBackAll(tape, m_aFirst));
        tape.AskForBackup(L"01/01/2001 00:00:00");
        EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_DEVICE_ERROR);
        EXPECT_EQ(tape.ErrorText(), L"ERROR: No latest/requested Volume Header found");
    }
}

TEST_F(Story, ObjectInMidVersionIsOverwritten)
{
    const std::wstring sRoot = server::Root(L"overwritten");
    const Blocks aNew = SomeBlocks(3, 60);
    {
        Tape tape(sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_NO_FATAL_FAILURE(WriteObjects(tape, m_aFirst));
        AwaitNextSecond(); // otherwise the entry that is added below has the same label
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, -3), ZDV_SUCCESS);
        ASSERT_EQ(tape.WriteObject(aNew), ZDV_SUCCESS) << "object 4: " << tape.ErrorText();
        // Until the medium is reset the list has one more entry, for which there is no file.
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
        Blocks aRead;
        EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        EXPECT_TRUE(tape.ErrorText().starts_with(L"ERROR: Perform operation failed [")) << tape.ErrorText();
    }
    Tape tape(sRoot);
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    std::vector<Blocks> aObjects = m_aFirst;
    aObjects[3] = aNew;
    ASSERT_NO_FATAL_FAILURE(ReadBackAll(tape, aObjects));
    Blocks aRead;
    EXPECT_EQ(tape.Read(1, aRead), ZDV_END_OF_MEDIA);
}

TEST_F(Story, SkippingAndSpacingFindTheBlock)
{
    Tape tape(server::Root(L"positions"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_NO_FATAL_FAILURE(WriteObjects(tape, m_aFirst));
    EXPECT_EQ(tape.Position(ZDV_SP_RET), ZDV_SUCCESS);
    Blocks aRead;
    EXPECT_EQ(tape.Read(1, aRead), ZDV_END_OF_MEDIA) << "a reset keeps the object number";

    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
    ASSERT_EQ(tape.Position(ZDV_SP_SKIP, 0), ZDV_SUCCESS);
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, 1), ZDV_SUCCESS)
        << "in the data of object 2, whose filemark comes first";
    EXPECT_EQ(tape.Position(ZDV_SP_SKIP, -1), ZDV_FUNCTION_NOT_SUPPORTED);
    ASSERT_EQ(tape.Position(ZDV_SP_SKIP, 4), ZDV_SUCCESS);
    EXPECT_EQ(tape.Property(ZDV_P_GET_CUR_BLK_ADDR), 8u);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS);
    EXPECT_TRUE(std::equal(aRead.begin(), aRead.end(), m_aFirst[2].begin() + 4 * ZDV_BLOCK_SIZE));
    EXPECT_EQ(tape.Write(m_aFirst[0]), ZDV_WRITE_PROTECTED) << "after a successful read";
    EXPECT_EQ(tape.Position(ZDV_SP_SKIP, 100), ZDV_FILEMARK_REACHED);

    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -1), ZDV_SUCCESS) << "back over the filemark just passed";
    EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 4, m_aFirst[3]));

    // One read counts as the whole header, however long the header is. Data that does not fill a request comes together
    // with the filemark.
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS);
    EXPECT_TRUE(std::equal(aRead.begin(), aRead.end(), m_aFirst[4].begin()));
    EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -3), ZDV_SUCCESS);
    EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Read(3, aRead), ZDV_FILEMARK_REACHED);
    EXPECT_TRUE(std::equal(m_aFirst[3].begin(), m_aFirst[3].end(), aRead.begin()));
    EXPECT_EQ(aRead.back(), static_cast<char>(0xEE));
    EXPECT_EQ(tape.Property(ZDV_P_GET_CUR_BLK_ADDR), 3u) << "the whole request is counted";
}

TEST_F(Story, ClosingEndsWhateverRuns)
{
    const std::wstring sRoot = server::Root(L"closing");
    const Blocks aObject = SomeBlocks(40, 7);
    {
        Tape tape(sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_NO_FATAL_FAILURE(WriteObjects(tape, {aObject, aObject}));
        ASSERT_EQ(tape.Write(aObject), ZDV_SUCCESS);
    }
    for (int i = 0; i < 2; ++i)
    {
        Tape tape(sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
        Blocks aRead;
        ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << "the upload was completed by closing";
        ASSERT_EQ(tape.Read(39, aRead), ZDV_SUCCESS);
        EXPECT_TRUE(std::equal(aRead.begin(), aRead.end(), aObject.begin() + ZDV_BLOCK_SIZE));
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, -2), ZDV_SUCCESS);
        ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS); // and left half read
    }
}

TEST_F(Story, OptionsTakeEffectWhenMadeReadyAgain)
{
    Tape tape(server::Root(L"first root"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(m_aFirst[0]), ZDV_SUCCESS);
    ASSERT_EQ(tape.Write(m_aFirst[1]), ZDV_SUCCESS);
    tape.Set(ZDV_FTP_ROOT, server::Root(L"second root"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << "in the middle of an object: " << tape.ErrorText();
    EXPECT_TRUE(tape.Versions().empty());
    tape.Set(ZDV_FTP_ROOT, server::Root(L"first root"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 1, m_aFirst[0]));
    ASSERT_NO_FATAL_FAILURE(ReadBack(tape, 2, m_aFirst[1]));
}
