// What users type, and what goes wrong with a server and on the way to it.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

bool IsSftp() { return server::Variable(L"ZDV_TEST_SCHEME") == L"sftp"; }

// What users type, and the folder of the store that they mean.
std::vector<std::pair<std::wstring, std::wstring>> TypedRoots()
{
    if (IsSftp())
        return {{server::Root(L"typed/a"), L"typed/a"},
                {L"\\" + server::Root(L"typed/b").substr(1), L"typed/b"},
                {L"~/typed/Fürth & Köln", L"typed/Fürth & Köln"},
                {L"~/typed/50%25", L"typed/50%"},
                {L"sftp://user@" + server::Root(L"typed/d"), L"typed/d"}};
    const std::wstring sHome = server::Variable(L"ZDV_TEST_HOME");
    const std::wstring sTop = sHome == L"/" ? L"" : sHome.substr(1) + L"/";
    return {{L"/typed/a", L"typed/a"},
            {L"//" + sTop + L"typed/e", L"typed/e"},
            {L"%2F" + sTop + L"typed/f", L"typed/f"},
            {L"typed/50%25", L"typed/50%"},
            {L"typed/b/", L"typed/b"},
            {L"\\typed\\c\\host1", L"typed/c/host1"},
            {L"/ftp:\\\\user:pw@host\\typed\\d@e", L"host/typed/d@e"},
            {L"typed/Москва #1", L"typed/Москва #1"}};
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

TEST(Server, FailedConnectionIsExplained)
{
    // option, value, code, text
    const std::tuple<std::int32_t, const wchar_t*, std::uint32_t, const wchar_t*> CASES[] = {
        {ZDV_FTP_PASSWORD, L"wrong", 67, L"ERROR: Couldn't perform operation [Login denied]"},
        {ZDV_FTP_PORT, L"1", 7, L"ERROR: Couldn't perform operation [Could not connect to server]"},
        {ZDV_FTP_SERVERNAME, L"no.such.host.invalid", 6,
         L"ERROR: Couldn't perform operation [Could not resolve hostname]"},
        {ZDV_FTP_PORT, L"70000", 10, L"ERROR: Failed to set Port"},
    };
    for (const auto& [uiOption, sValue, uiCode, sText] : CASES)
    {
        Tape tape(server::Root(L"connection"));
        tape.Set(uiOption, sValue);
        EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR) << uiCode;
        EXPECT_EQ(tape.ErrorCode(), uiCode);
        EXPECT_EQ(tape.ErrorText(), sText);
    }
}

// If a password is set, the key and the agent of the account that the host runs under are not used.
TEST(Server, KeyAndAgentAreOnlyForThoseWithoutAPassword)
{
    const fs::path Key = server::Store(L".ssh/id_rsa");
    if (!fs::exists(Key))
        GTEST_SKIP() << "the server accepts no key";
    static constexpr const wchar_t* AGENT = L"\\\\.\\pipe\\openssh-ssh-agent";
    static std::atomic<bool> bAsked;
    const auto HangUp = [](LPVOID hPipe) -> DWORD {
        bAsked = ConnectNamedPipe(hPipe, nullptr);
        DisconnectNamedPipe(hPipe);
        return 0;
    };
    for (const auto& [bKey, sPassword] :
         {std::pair(true, L"wrong"), {true, L""}, {false, L"wrong"}, {false, L""}})
    {
        fs::remove(Key.filename());
        if (bKey)
            fs::copy_file(Key, Key.filename()); // libcurl looks in the current folder
        bAsked = false;
        const HANDLE hAgent = CreateNamedPipeW(AGENT, PIPE_ACCESS_DUPLEX, 0, 1, 4096, 4096, 0, nullptr);
        const HANDLE hThread = CreateThread(nullptr, 0, HangUp, hAgent, 0, nullptr);
        Tape tape(server::Root(L"keys"));
        tape.Set(ZDV_FTP_PASSWORD, sPassword);
        EXPECT_EQ(tape.MakeReady() == ZDV_SUCCESS, bKey && *sPassword == 0) << tape.ErrorText();
        EXPECT_EQ(bAsked, !bKey && *sPassword == 0); // after the key
        CloseHandle(
            CreateFileW(AGENT, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)); // ends the thread
        WaitForSingleObject(hThread, INFINITE);
        CloseHandle(hThread);
        CloseHandle(hAgent);
    }
}

TEST(Server, RootThatCannotBeCreatedIsExplained)
{
    Tape tape(server::Root(L"readonly/root"));
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Couldn't perform operation");
    EXPECT_TRUE(server::Names(L"readonly").empty());
}

TEST(Server, VersionWithoutADateIsExplained)
{
    Tape tape(server::Root(L"dates"));
    fs::create_directories(server::Store(L"dates/ZELT_19690101000000"));
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    EXPECT_EQ(tape.ErrorCode(), 87u);
    EXPECT_EQ(tape.ErrorText(), L"ERROR: Invalid latest backup date/time to use");
}

TEST(Server, VersionOf999ObjectsIsFull)
{
    const Blocks aObject = SomeBlocks(1, 12);
    const std::wstring sVersion = L"full/ZELT_20240315143005";
    fs::create_directories(server::Store(sVersion));
    for (int i = 1; i <= 999; ++i)
        std::ofstream(
            server::Store(sVersion + L"/ZELT_20240315143005." + std::to_wstring(1000 + i).substr(1)),
            std::ios::binary)
            .write(aObject.data(), static_cast<std::streamsize>(i == 999 ? aObject.size() : 1));
    Tape tape(server::Root(L"full"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_EORM), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_EQ(tape.Write(aObject), ZDV_DEVICE_ERROR);
    EXPECT_EQ(tape.ErrorText(), L"ERROR: Invalid object id");
    EXPECT_EQ(server::Names(sVersion).size(), 999u);
    ASSERT_EQ(tape.Position(ZDV_SP_EORM), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -2), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRead == aObject);
}

TEST(Server, FailedSetUpLeavesTheTransferAlone)
{
    const Blocks aObject = SomeBlocks(3, 4);
    Tape tape(server::Root(L"set-up"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Write(aObject), ZDV_SUCCESS) << tape.ErrorText();
    tape.Set(ZDV_FTP_PORT, L"70000");
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    EXPECT_EQ(tape.ErrorCode(), 0u) << "the error is the running transfer's";
    ASSERT_EQ(tape.Write(aObject), ZDV_SUCCESS);
    EXPECT_EQ(tape.Filemark(), 0u) << tape.ErrorText();
    tape.Set(ZDV_FTP_PORT, server::Variable(L"ZDV_TEST_PORT"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(6, aRead), ZDV_SUCCESS) << tape.ErrorText();
}

// The last error stays until the next read or write. Listings fail until the device is made ready.
TEST(Server, FullDiskFailsTheUploadAndNothingElse)
{
    const std::wstring DISK = L"small"; // of 1 MiB
    if (!fs::exists(server::Store(DISK)))
        GTEST_SKIP() << "this machine mounts no small disk";
    fs::remove_all(server::Store(DISK + L"/root"));
    const Blocks aObject = SomeBlocks(1, 5);
    const Blocks aTooLong = SomeBlocks(32, 2); // for the disk; how much is buffered on the way differs
    Tape tape(server::Root(DISK + L"/root"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(tape.WriteObject(aObject), ZDV_SUCCESS) << tape.ErrorText();
    tape.Write(aTooLong);
    EXPECT_NE(tape.Filemark(), 0u) << "no filemark hides a failed upload";
    ExpectReason(tape, L"Perform operation failed");

    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -3), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRead == aObject) << "an object before the failed one";

    const auto WriteOverTheSecond = [&] {
        EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << "the device works again: " << tape.ErrorText();
        EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
        EXPECT_EQ(tape.Position(ZDV_SP_FFM, 1), ZDV_SUCCESS);
        return tape.Write(aTooLong);
    };
    WriteOverTheSecond();
    EXPECT_EQ(tape.Position(ZDV_SP_RET), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Perform operation failed"); // of the upload that this has ended
    EXPECT_EQ(tape.Position(ZDV_SP_RET), ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Couldn't perform operation");
    EXPECT_TRUE(WriteOverTheSecond() != ZDV_SUCCESS || tape.Read(1, aRead) == ZDV_DEVICE_ERROR);
    ExpectReason(tape, L"Perform operation failed"); // again of the upload that this has ended
    EXPECT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << "object 3: " << tape.ErrorText();
    EXPECT_EQ(tape.ErrorCode(), 0u);
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
    ZDV_STATUS uiRc = ZDV_SUCCESS;
    for (int i = 0; i < 64 && uiRc == ZDV_SUCCESS; ++i)
        uiRc = tape.Write(SomeBlocks(64, 3));
    EXPECT_EQ(uiRc, ZDV_DEVICE_ERROR);
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
    EXPECT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED) << "it is reported again";
    EXPECT_EQ(tape.ErrorCode(), 0u);
    server::Control("start");
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -1), ZDV_SUCCESS);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);

    ASSERT_EQ(tape.Position(ZDV_SP_FFM, -3), ZDV_SUCCESS);
    ASSERT_EQ(tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ASSERT_EQ(tape.Write(aObject), ZDV_SUCCESS) << "over object 2: " << tape.ErrorText();
    server::Control("kill");
    server::Control("start");
    EXPECT_EQ(tape.Position(ZDV_SP_SKIP, 2), ZDV_SUCCESS) << "into object 3";
    ExpectReason(tape, L"Perform operation failed"); // of the upload that the first of its reads has ended
}

// On a server that speaks another protocol than that of the typed port.
TEST(WrongPort, IsExplained)
{
    Tape tape(server::Root(L"port"));
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    const bool bTls = server::Variable(L"ZDV_TEST_PORT") == L"990";
    EXPECT_EQ(tape.ErrorCode(), bTls ? 35u : 2u);
    EXPECT_EQ(tape.ErrorText(), bTls ? L"ERROR: Couldn't perform operation [SSL connect error]"
                                     : L"ERROR: Couldn't perform operation [Failed initialization]");
}
