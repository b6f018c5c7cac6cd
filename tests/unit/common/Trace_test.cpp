#include "tests/SettingsFile.h"
#include "tests/unit/TraceLog.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <sstream>

using quorvel::CTrace;
using quorvel::Level;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

// Logs in a folder of their own.
class Trace : public testing::Test
{
protected:
    ~Trace() override { fs::remove_all(m_Folder); }
    static SettingsFile Folder(const fs::path& Path)
    {
        return {L"zlt.ini", L"[File Locations]\nLogfiles=" + Path.wstring() + L'\n'};
    }
    std::vector<std::string> Lines() const { return LogLines(FileText(m_Log)); }

    const fs::path m_Folder = quorvel::g_Trace.ProgramFolder() + L"\\trace test";
    const fs::path m_Log = m_Folder / "ZDV_FTP_trace.log";
    const SettingsFile m_Setting = Folder(m_Folder);
};

void WriteAllLevels(CTrace& Trace)
{
    Trace.Message(Level::Error, L"f", L"e");
    Trace.Message(Level::Warning, L"f", L"w");
    Trace.Message(Level::Information, L"f", L"i");
    Trace.Message(Level::Verbose, L"f", L"v");
}

std::string Now()
{
    SYSTEMTIME t;
    GetLocalTime(&t);
    char aTime[32];
    std::snprintf(aTime, sizeof(aTime), "[%04u-%02u-%02u %02u:%02u:%02u.%03u]", t.wYear, t.wMonth, t.wDay,
                  t.wHour, t.wMinute, t.wSecond, t.wMilliseconds);
    return aTime;
}

} // namespace

TEST_F(Trace, WritesTheLevelsOfTheSettings)
{
    for (const auto& [sSetting, uiLines] : {std::pair(L"0", 0u),
                                            {L"1", 1u},
                                            {L"2", 2u},
                                            {L"3", 3u},
                                            {L"4", 4u},
                                            {L"5", 3u},
                                            {L"9", 3u},
                                            {L"-1", 3u}})
    {
        const SettingsFile TraceLevel(L"trace.ini", L"[Main]\nZDV_FTP_TraceLevel=" + std::wstring(sSetting));
        CTrace Own;
        Own.ReadLevel();
        WriteAllLevels(Own);
        const std::vector<std::string> aAll = {"[E]: f : e", "[W]: f : w", "[I]: f : i", "[V]: f : v"};
        EXPECT_EQ(Lines(), std::vector(aAll.begin(), aAll.begin() + uiLines)) << sSetting;
        EXPECT_EQ(fs::exists(m_Log), uiLines != 0) << sSetting;
    }
    const SettingsFile Empty(L"trace.ini", L"");
    CTrace Own;
    Own.ReadLevel();
    WriteAllLevels(Own);
    EXPECT_THAT(Lines(), ElementsAre("[E]: f : e", "[W]: f : w", "[I]: f : i"));
}

TEST_F(Trace, KeepsTheLogOfTheLoadBefore)
{
    const auto Old = [this] { return LogLines(FileText(m_Folder / "ZDV_FTP_trace.old")); };
    for (const char* sRun : {"first", "second"})
    {
        CTrace Run;
        Run.Message(Level::Error, L"f", sRun);
    }
    EXPECT_THAT(Old(), ElementsAre("[E]: f : first"));
    EXPECT_THAT(Lines(), ElementsAre("[E]: f : second"));
    CTrace Third;
    EXPECT_THAT(Old(), ElementsAre("[E]: f : second"));
    EXPECT_FALSE(fs::exists(m_Log));
}

TEST_F(Trace, OutlivesItsFileAndCreatesOneLevelOfItsFolder)
{
    const fs::path Deep = m_Folder / "deep";
    const SettingsFile DeepFolder = Folder(Deep);
    CTrace Lost;
    WriteAllLevels(Lost);
    EXPECT_FALSE(fs::exists(m_Folder));
    fs::create_directory(m_Folder);
    CTrace Own;
    EXPECT_TRUE(fs::is_directory(Deep));
    for (int i = 0; i < 2; ++i)
    {
        fs::remove_all(Deep);
        WriteAllLevels(Own); // lost
        fs::create_directory(Deep);
        WriteAllLevels(Own);
        EXPECT_EQ(LogLines(FileText(Deep / "ZDV_FTP_trace.log")).size(), 3u);
    }
}

TEST_F(Trace, ShowsEveryFormOfValue)
{
    constexpr Level E = Level::Error;
    static constexpr GUID ID = {0x1234ABCD, 0x0F, 0xA0, {0, 1, 2, 3, 4, 5, 6, 0xFF}};
    const std::pair<void (*)(CTrace&), const char*> CASES[] = {
        {[](CTrace& T) { T.Message(E, L"f", static_cast<const wchar_t*>(nullptr)); }, "f : <null>"},
        {[](CTrace& T) { T.Message(E, "f", "narrow \xFC"); }, "f : narrow \xC3\xBC"},
        {[](CTrace& T) { T.Text(E, L"f", L"s", std::wstring(L"a'\a\b\t\n\v\f\r\0z", 11)); },
         "f : s = 'a'<Alert><BS><Tab><LF><VT><FF><CR><NULL>z'"},
        {[](CTrace& T) { T.Text(E, L"f", L"p", L"\x20AC\r\n[E]: forged"); },
         "f : p = '\xE2\x82\xAC<CR><LF>[E]: forged'"},
        {[](CTrace& T) { T.Text(E, L"f", L"p", static_cast<const wchar_t*>(nullptr)); }, "f : p = <null>"},
        {[](CTrace& T) { T.Text(E, L"f", L"p", "na\trrow"); }, "f : p = \"na<Tab>rrow\""},
        {[](CTrace& T) { T.Text(E, L"f", L"p", static_cast<const char*>(nullptr)); }, "f : p = <null>"},
        {[](CTrace& T) { T.Number(E, L"f", L"n", std::int64_t{-1}); }, "f : n = -1"},
        {[](CTrace& T) { T.Hexadecimal(E, L"f", L"uiRc", 0x40000aBc); }, "f : uiRc = 0x40000abc"},
        {[](CTrace& T) { T.IPv6(E, L"f", L"a", std::string(15, '\0')); }, "f : a = <Invalid IPv6 address>"},
        {[](CTrace& T) { T.Guid(E, L"f", L"g", ID); }, "f : g = { 1234ABCD-000F-00A0-0001-0203040506FF }"},
        {[](CTrace& T) {
             T.DateTime(E, L"f", L"t", {2024, 5, 3, 1, 9, 3, 7, 45});
         },
         "f : t = Wednesday 2024-05-01 09:03:07.045"},
        {[](CTrace& T) { T.Text(E, L"f\xD83D", L"s", L"\xD83D\xDE00 \xDE00"); },
         "f\xEF\xBF\xBD : s = '\xF0\x9F\x98\x80 \xEF\xBF\xBD'"},
        {[](CTrace& T) { T.Message(E, L"f", L"last"); }, "f : last"},
    };
    CTrace Own;
    std::vector<std::string> aExpected;
    for (const auto& [write, sLine] : CASES)
    {
        write(Own);
        aExpected.push_back(std::string("[E]: ") + sLine);
    }
    EXPECT_EQ(Lines(), aExpected);
}

TEST_F(Trace, KeepsTheLinesOfConcurrentThreadsWhole)
{
    static constexpr int THREADS = 4, LINES = 60;
    const std::string sBefore = Now();
    CTrace Own;
    const auto Write = [](LPVOID pTrace) -> DWORD {
        for (int i = 0; i < LINES; ++i)
            static_cast<CTrace*>(pTrace)->Text(Level::Error, L"f", L"s", std::wstring(100, L'\x20AC'));
        return GetCurrentThreadId();
    };
    HANDLE aThreads[THREADS];
    for (HANDLE& hThread : aThreads)
        hThread = CreateThread(nullptr, 0, Write, &Own, 0, nullptr);
    WaitForMultipleObjects(THREADS, aThreads, TRUE, INFINITE);
    const std::string sAfter = Now();

    const std::regex Line(
        "(\\[[-\\d]{10} [:\\d]{8}\\.\\d{3}\\]):([\\da-f]{4,}):\\[E\\]: f : s = '(\xE2\x82\xAC){100}'");
    std::map<DWORD, int> aLinesOf;
    std::istringstream Text(FileText(m_Log));
    for (std::string sLine; std::getline(Text, sLine);)
    {
        std::smatch Match;
        ASSERT_TRUE(std::regex_match(sLine, Match, Line)) << sLine;
        EXPECT_TRUE(sBefore <= Match.str(1) && Match.str(1) <= sAfter) << sLine;
        ++aLinesOf[std::stoul(Match.str(2), nullptr, 16)];
    }
    for (const HANDLE hThread : aThreads)
    {
        DWORD dwThreadId = 0;
        GetExitCodeThread(hThread, &dwThreadId);
        EXPECT_EQ(aLinesOf[dwThreadId], LINES);
        CloseHandle(hThread);
    }
}
