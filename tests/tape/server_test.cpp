// What users type, and what goes wrong on the way to the server and there.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

namespace fs = std::filesystem;

bool IsSftp() { return server::Variable(L"ZDV_TEST_SCHEME") == L"sftp"; }

struct TypedRoot
{
    std::wstring sTyped;
    std::wstring sFolder; // of the store
};

std::vector<TypedRoot> TypedRoots()
{
    if (IsSftp())
        return {{server::Root(L"typed/a"), L"typed/a"},
                {L"\\" + server::Root(L"typed/b").substr(1), L"typed/b"},
                {L"~/typed/Fürth & Köln", L"typed/Fürth & Köln"},
                {L"sftp://user@" + server::Root(L"typed/d"), L"typed/d"}};
    return {{L"/typed/a", L"typed/a"},
            {L"typed/b/", L"typed/b"},
            {L"\\typed\\c\\host1", L"typed/c/host1"},
            {L"ftp://user@host/typed/d", L"host/typed/d"},
            {L"typed/Москва #1", L"typed/Москва #1"}};
}

// Writes until the module notices that the server does not take it.
ZDV_STATUS WriteUntilRefused(Tape& tape)
{
    const Blocks aBlocks = SomeBlocks(64, 3);
    ZDV_STATUS uiRc = ZDV_SUCCESS;
    for (int i = 0; i < 64 && uiRc == ZDV_SUCCESS; ++i)
        uiRc = tape.Write(aBlocks);
    return uiRc;
}

void ExpectReason(Tape& tape, const std::wstring& sStep)
{
    EXPECT_NE(tape.ErrorCode(), 0u);
    EXPECT_TRUE(tape.ErrorText().starts_with(L"ERROR: " + sStep + L" [")) << tape.ErrorText();
    EXPECT_TRUE(tape.ErrorText().ends_with(L"]"));
}

} // namespace

TEST(Server, EveryWayToTypeARootIsUnderstood)
{
    const Blocks aHeader = SomeBlocks(1, 9);
    for (const auto& [sTyped, sFolder] : TypedRoots())
    {
        SCOPED_TRACE(testing::PrintToString(sTyped));
        Tape tape(sTyped);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.WriteObject(aHeader), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_EQ(server::Names(sFolder).size(), 1u);
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
        Blocks aRead;
        ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_TRUE(aRead == aHeader);
    }
}

TEST(Server, EmptyRootIsReadable)
{
    if (IsSftp() && server::Variable(L"ZDV_TEST_HOME") != L"/")
    {
        Tape tape(L""); // the server's top directory, where the user has no backups
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_TRUE(tape.Versions().empty());
        return;
    }
    const Blocks aHeader = SomeBlocks(1, 11);
    Tape tape(L".");
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(aHeader), ZDV_SUCCESS) << tape.ErrorText();
    tape.Set(ZDV_FTP_ROOT, L"");
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRead == aHeader);
    ASSERT_EQ(tape.Erase(), ZDV_SUCCESS);
    EXPECT_EQ(tape.Write(aHeader), ZDV_DEVICE_ERROR);
    EXPECT_EQ(tape.ErrorText(), L"ERROR: Empty root supplied");
}

TEST(Server, IPv6AddressIsTypedWithAndWithoutBrackets)
{
    const std::wstring sAddress = server::Variable(L"ZDV_TEST_SERVER");
    if (sAddress.find(L':') == std::wstring::npos)
        GTEST_SKIP() << "an IPv4 server";
    for (const std::wstring& sTyped : {sAddress, L"[" + sAddress + L"]"})
    {
        Tape tape(server::Root(L"addresses"));
        tape.Set(ZDV_FTP_SERVERNAME, sTyped);
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    }
}

TEST(Server, FailedConnectionIsExplained)
{
    const struct
    {
        std::int32_t uiOption;
        const wchar_t* sValue;
        std::uint32_t uiCode;
        const wchar_t* sText;
    } CASES[] = {
        {ZDV_FTP_PASSWORD, L"wrong", 67, L"ERROR: Couldn't perform operation [Login denied]"},
        {ZDV_FTP_PORT, L"1", 7, L"ERROR: Couldn't perform operation [Could not connect to server]"},
        {ZDV_FTP_SERVERNAME, L"no.such.host.invalid", 6,
         L"ERROR: Couldn't perform operation [Could not resolve hostname]"},
        {ZDV_FTP_PORT, L"70000", 10, L"ERROR: Failed to set Port"},
    };
    for (const auto& Case : CASES)
    {
        SCOPED_TRACE(Case.uiCode);
        Tape tape(server::Root(L"connection"));
        tape.Set(Case.uiOption, Case.sValue);
        EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
        EXPECT_EQ(tape.ErrorCode(), Case.uiCode);
        EXPECT_EQ(tape.ErrorText(), Case.sText);
    }
}

TEST(Server, RootThatCannotBeCreatedIsExplained)
{
    Tape tape(server::Root(L"readonly/root"));
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Couldn't perform operation");
    EXPECT_TRUE(server::Names(L"readonly").empty());
}

TEST(Server, FullDiskFailsTheUploadAndNothingElse)
{
    if (!std::filesystem::exists(server::Store(L"small")))
        GTEST_SKIP() << "this machine mounts no small disk";
    const Blocks aObject = SomeBlocks(1, 5);
    Tape tape(server::Root(L"small/root"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS) << tape.ErrorText();
    tape.Write(SomeBlocks(32, 2)); // twice what the disk holds; how much is buffered on the way differs
    EXPECT_NE(tape.Filemark(), 0u) << "no filemark hides a failed upload";
    ExpectReason(tape, L"Perform operation failed");

    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -3), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRead == aObject) << "an object before the failed one";
    EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << "the device works again: " << tape.ErrorText();
}

TEST(Server, RetryOfAFailedVersionLeavesTheOlderOneAlone)
{
    const std::wstring sRoot = server::Root(L"retried");
    const Blocks aObject = SomeBlocks(2, 6);
    {
        Tape tape(sRoot);
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS) << tape.ErrorText();
    }
    Tape tape(sRoot);
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    server::Control("kill");
    EXPECT_EQ(tape.Write(SomeBlocks(1, 7)), ZDV_DEVICE_ERROR);
    server::Control("start");
    EXPECT_EQ(tape.Write(SomeBlocks(1, 7)), ZDV_INTERNAL_ERROR);
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
    Blocks aRead;
    ASSERT_EQ(tape.Read(2, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRead == aObject);
}

TEST(Server, KilledServerFailsTheUpload)
{
    Tape tape(server::Root(L"killed/upload"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Write(SomeBlocks(1, 1)), ZDV_SUCCESS) << tape.ErrorText();
    server::Control("kill");
    EXPECT_EQ(WriteUntilRefused(tape), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Perform operation failed");
    EXPECT_EQ(tape.Write(SomeBlocks(1, 1)), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Perform operation failed");
    EXPECT_NE(tape.Filemark(), 0u);
    server::Control("start");
    EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
}

TEST(Server, KilledServerFailsTheDownload)
{
    const Blocks aObject = SomeBlocks(1, 1);
    const Blocks aLong = SomeBlocks(400, 2);
    Tape tape(server::Root(L"killed/download"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS);
    ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS);
    ASSERT_EQ(tape.WriteObject(aLong), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS);
    server::Control("kill");
    EXPECT_EQ(tape.Read(399, aRead), ZDV_FILEMARK_REACHED);
    ExpectReason(tape, L"Perform operation failed");
    server::Control("start");
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -1), ZDV_SUCCESS);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
}

// Verbose tracing of the module, which looks for its settings beside the program.
class VerboseTrace
{
public:
    VerboseTrace()
    {
        wchar_t aProgram[MAX_PATH];
        GetModuleFileNameW(nullptr, aProgram, MAX_PATH);
        m_Folder = fs::path(aProgram).parent_path();
        if (!(std::ofstream(m_Folder / "trace.ini") << "[Main]\nZDV_FTP_TraceLevel=4\n"))
            throw std::runtime_error("trace.ini cannot be written");
    }
    VerboseTrace(const VerboseTrace&) = delete;
    VerboseTrace& operator=(const VerboseTrace&) = delete;
    ~VerboseTrace() { fs::remove(m_Folder / "trace.ini"); }

    std::string Log() const
    {
        std::ifstream Log(m_Folder / "Logfiles" / "ZDV_FTP_trace.log", std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(Log)), std::istreambuf_iterator<char>());
    }

private:
    fs::path m_Folder;
};

TEST(Server, PasswordIsNowhereInAVerboseLog)
{
    const VerboseTrace Trace;
    {
        Tape tape(server::Root(L"traced"));
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.WriteObject(SomeBlocks(1, 1)), ZDV_SUCCESS);
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
        Blocks aRead;
        ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS);
    }
    const std::string sLog = Trace.Log();
    EXPECT_NE(sLog.find("ZDV_FTP_PASSWORD"), std::string::npos);
    EXPECT_NE(sLog.find("ThreadReader : EOF"), std::string::npos);
    EXPECT_EQ(sLog.find(fs::path(server::Variable(L"ZDV_TEST_PASSWORD")).string()), std::string::npos);
}

// On a server that speaks another protocol than the typed port stands for.
TEST(WrongPort, IsExplained)
{
    Tape tape(server::Root(L"port"));
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    const bool bTls = server::Variable(L"ZDV_TEST_PORT") == L"990";
    EXPECT_EQ(tape.ErrorCode(), bTls ? 35u : 2u);
    EXPECT_EQ(tape.ErrorText(), bTls ? L"ERROR: Couldn't perform operation [SSL connect error]"
                                     : L"ERROR: Couldn't perform operation [Failed initialization]");
}
