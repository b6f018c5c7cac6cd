// Who is talked to when the settings list the keys of servers.
#include "tests/SettingsFile.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <gtest/gtest.h>
#include <map>
#include <string_view>

namespace {

enum : std::uint32_t
{
    TALKS = 0,
    OTHER_KEY = 60,
    NO_TLS = 64,
    BAD_LIST = 1610
};

const std::wstring WRONG =
    L" = SHA256:" + std::wstring(43, L'A') + L" sha256//" + std::wstring(43, L'A') + L'=';

std::wstring Keys() { return server::Variable(L"ZDV_TEST_KEYS"); } // empty for a server without encryption

std::wstring ListedServer()
{
    const std::wstring sServer = server::Variable(L"ZDV_TEST_SERVER");
    return sServer.find(L':') == sServer.npos ? sServer : L'[' + sServer + L']';
}

SettingsFile List(const std::wstring& sLines) { return {L"zlt.ini", L"[Server Keys]\n" + sLines + L'\n'}; }

std::size_t Comparisons(std::string_view sLog)
{
    std::size_t uiCount = 0;
    for (std::size_t i = 0; (i = sLog.find(":[I]: ServerCheck : sShown = \"", i)) != sLog.npos; ++i)
        ++uiCount;
    return uiCount;
}

// Since this was asked for last.
bool WasUserUnseen()
{
    try
    {
        server::Control("unseen");
        return true;
    }
    catch (const std::runtime_error&)
    {
        return false;
    }
}

void ExpectReason(Tape& tape, std::uint32_t uiCode)
{
    const std::map<std::uint32_t, std::wstring> REASONS = {
        {TALKS, L""},
        {BAD_LIST, L"ERROR: zlt.ini, section Server Keys: \"x = y\" cannot be understood"},
        {OTHER_KEY, L" [SSL peer certificate or SSH remote key was not OK]: the server shows "},
        {NO_TLS, L" [Requested SSL level failed]: zlt.ini asks for a key, and the server refuses TLS "}};
    EXPECT_EQ(tape.ErrorCode(), uiCode);
    EXPECT_NE(tape.ErrorText().find(REASONS.at(uiCode)), std::wstring::npos) << tape.ErrorText();
}

} // namespace

TEST(Keys, DecideWhoIsTalkedTo)
{
    const std::wstring sServer = ListedServer();
    const std::wstring sHere = sServer + L':' + server::Variable(L"ZDV_TEST_PORT");
    const std::uint32_t uiRefused = Keys().empty() ? NO_TLS : OTHER_KEY;
    struct Case
    {
        std::wstring sLines;
        std::uint32_t uiCode;
        bool bCompared = false;
    };
    std::vector<Case> aCases = {
        {L"", TALKS},
        {sServer + L":1" + WRONG, TALKS},
        {sServer + WRONG, uiRefused},
        {sHere + WRONG, uiRefused},
        {sServer + L" = ?", uiRefused},
        {L"* = required\nnas" + WRONG, uiRefused},
        {sServer + L":1" + WRONG + L"\nx = y", BAD_LIST},
    };
    if (!Keys().empty())
        aCases.insert(aCases.end(), {{sServer + L" = " + Keys(), TALKS, true},
                                     {L"* = required\n" + sHere + WRONG + L' ' + Keys(), TALKS, true}});
    WasUserUnseen();
    for (const auto& [sLines, uiCode, bCompared] : aCases)
    {
        SCOPED_TRACE(testing::PrintToString(sLines));
        const SettingsFile Settings = List(sLines);
        Tape tape(server::Root(L"keys"));
        EXPECT_EQ(tape.MakeReady() == ZDV_SUCCESS, uiCode == TALKS);
        ExpectReason(tape, uiCode);
        // A host may ignore a refusal.
        EXPECT_EQ(tape.Position(ZDV_SP_BOM) == ZDV_SUCCESS, uiCode == TALKS);
        EXPECT_EQ(tape.ErrorCode(), uiCode == BAD_LIST ? OTHER_KEY : uiCode);
        EXPECT_EQ(tape.WriteObject(SomeBlocks(1, 1)) == ZDV_SUCCESS, uiCode == TALKS);
        const std::size_t uiComparisons = Comparisons(Settings.Log());
        EXPECT_EQ(uiComparisons != 0, bCompared);
        if (server::Variable(L"ZDV_TEST_SCHEME") == L"sftp")
        {
            EXPECT_LE(uiComparisons, 1u) << "the connection was not kept";
        }
        EXPECT_EQ(WasUserUnseen(), uiCode != TALKS);
    }
}

TEST(Keys, ServerThatIsNamedWhenTheListHasBeenReadIsComparedToo)
{
    const wchar_t* const OTHER = L"localhost";
    const SettingsFile Settings = List(OTHER + WRONG);
    Tape tape(server::Root(L"keys"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    WasUserUnseen();
    tape.Set(ZDV_FTP_SERVERNAME, OTHER);
    EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_DEVICE_ERROR);
    ExpectReason(tape, Keys().empty() ? NO_TLS : OTHER_KEY);
    EXPECT_TRUE(WasUserUnseen());
    tape.Set(ZDV_FTP_SERVERNAME, server::Variable(L"ZDV_TEST_SERVER"));
    EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
}

TEST(Keys, ServerReplacedBetweenTwoTransfersIsRefused)
{
    if (Keys().empty())
        GTEST_SKIP() << "a server without encryption";
    const SettingsFile Settings = List(ListedServer() + L" = " + Keys());
    Tape tape(server::Root(L"keys"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_EQ(tape.WriteObject(SomeBlocks(1, 1)), ZDV_SUCCESS) << tape.ErrorText();
    server::Control("replace");
    WasUserUnseen();
    EXPECT_EQ(tape.WriteObject(SomeBlocks(1, 2)), ZDV_DEVICE_ERROR);
    ExpectReason(tape, OTHER_KEY);
    EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
    EXPECT_TRUE(WasUserUnseen());
    server::Control("replace");
    EXPECT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
}

TEST(Middle, GetsNothing)
{
    const std::pair<std::string, std::uint32_t> CASES[] = {
        {"strips", NO_TLS}, {"denies", NO_TLS}, {"impersonates", OTHER_KEY}, {"takes", OTHER_KEY}};
    const std::wstring sFar = L"127.0.0.2";
    const SettingsFile Settings = List(sFar + L" = " + Keys());
    for (const auto& [sDeed, uiCode] : CASES)
    {
        SCOPED_TRACE(sDeed);
        if (uiCode == NO_TLS && server::Variable(L"ZDV_TEST_SCHEME") == L"ftps")
            continue; // no command asks for implicit TLS
        const bool bOnlyData = sDeed == "takes";
        Tape tape(server::Root(L"keys"));
        tape.Set(ZDV_FTP_SERVERNAME, sFar);
        server::Control("passes");
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.WriteObject(SomeBlocks(1, 1)), ZDV_SUCCESS) << tape.ErrorText();
        server::Control(sDeed);
        if (bOnlyData)
        {
            EXPECT_EQ(tape.WriteObject(SomeBlocks(1, 2)), ZDV_DEVICE_ERROR);
            ExpectReason(tape, uiCode);
        }
        WasUserUnseen();
        EXPECT_EQ(tape.MakeReady(), ZDV_DEVICE_ERROR);
        ExpectReason(tape, uiCode);
        EXPECT_EQ(WasUserUnseen(), !bOnlyData);
        EXPECT_NO_THROW(server::Control("middle"));
    }
}
