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

// A value in one of the product's settings files, for as long as this lives.
class Setting
{
public:
    Setting(const wchar_t* sFile, const wchar_t* sSection, const wchar_t* sKey, const std::wstring& sValue)
        : m_sFile(quorvel::g_Trace.ProgramFolder() + L"\\" + sFile), m_sSection(sSection)
    {
        WritePrivateProfileStringW(sSection, sKey, sValue.c_str(), m_sFile.c_str());
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    ~Setting()
    {
        WritePrivateProfileStringW(m_sSection, nullptr, nullptr, m_sFile.c_str());
        DeleteFileW(m_sFile.c_str());
    }

private:
    std::wstring m_sFile;
    const wchar_t* m_sSection;
};

// Logs in a folder of their own.
class Trace : public testing::Test
{
protected:
    ~Trace() override { fs::remove_all(m_Folder); }
    static Setting Folder(const fs::path& Path)
    {
        return {L"zlt.ini", L"File Locations", L"Logfiles", Path.wstring()};
    }
    std::vector<std::string> Lines() const { return LogLines(FileText(m_Log)); }

    const fs::path m_Folder = quorvel::g_Trace.ProgramFolder() + L"\\trace test";
    const fs::path m_Log = m_Folder / "ZDV_FTP_trace.log";
    const Setting m_Setting = Folder(m_Folder);
};

void WriteAllLevels(CTrace& Trace)
{
    Trace.Message(Level::Error, L"f", L"e");
    Trace.Message(Level::Warning, L"f", L"w");
    Trace.Message(Level::Information, L"f", L"i");
    Trace.Message(Level::Verbose, L"f", L"v");
}

std::string HeaderNow()
{
    SYSTEMTIME t;
    GetLocalTime(&t);
    char aHeader[64];
    std::snprintf(aHeader, sizeof(aHeader), "[%04u-%02u-%02u %02u:%02u:%02u.%03u]:%04lx", t.wYear, t.wMonth,
                  t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds, GetCurrentThreadId());
    return aHeader;
}

} // namespace

TEST_F(Trace, LineNamesTimeThreadLevelAndFunction)
{
    CTrace Own;
    const std::string sBefore = HeaderNow();
    Own.Message(Level::Information, L"ZDV_Position", L"starting ...");
    const std::string sAfter = HeaderNow();
    const std::string sLine = FileText(m_Log);
    ASSERT_GE(sLine.size(), sBefore.size());
    EXPECT_EQ(sLine.substr(sBefore.size()), ":[I]: ZDV_Position : starting ...\n");
    EXPECT_LE(sBefore, sLine.substr(0, sBefore.size()));
    EXPECT_GE(sAfter, sLine.substr(0, sAfter.size()));
}

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
        const Setting TraceLevel(L"trace.ini", L"Main", L"ZDV_FTP_TraceLevel", sSetting);
        CTrace Own;
        Own.ReadLevel();
        WriteAllLevels(Own);
        const std::vector<std::string> aAll = {"[E]: f : e", "[W]: f : w", "[I]: f : i", "[V]: f : v"};
        EXPECT_EQ(Lines(), std::vector(aAll.begin(), aAll.begin() + uiLines)) << sSetting;
        EXPECT_EQ(fs::exists(m_Log), uiLines != 0) << sSetting;
    }
    CTrace Own;
    Own.ReadLevel(); // without the file
    WriteAllLevels(Own);
    EXPECT_THAT(Lines(), ElementsAre("[E]: f : e", "[W]: f : w", "[I]: f : i"));
}

TEST_F(Trace, KeepsThePreviousRunOnce)
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
    const Setting DeepFolder = Folder(Deep);
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
    CTrace Own;
    const auto Write = [](LPVOID pTrace) -> DWORD {
        for (int i = 0; i < LINES; ++i)
            static_cast<CTrace*>(pTrace)->Text(Level::Error, L"f", L"s", std::wstring(100, L'\x20AC'));
        return 0;
    };
    HANDLE aThreads[THREADS];
    for (HANDLE& hThread : aThreads)
        hThread = CreateThread(nullptr, 0, Write, &Own, 0, nullptr);
    WaitForMultipleObjects(THREADS, aThreads, TRUE, INFINITE);
    std::for_each(std::begin(aThreads), std::end(aThreads), CloseHandle);

    const std::regex Line(
        "\\[[-\\d]{10} [:\\d]{8}\\.\\d{3}\\]:([\\da-f]{4,}):\\[E\\]: f : s = '(\xE2\x82\xAC){100}'");
    std::map<std::string, int> aLinesOf;
    std::istringstream Text(FileText(m_Log));
    for (std::string sLine; std::getline(Text, sLine);)
    {
        std::smatch Match;
        ASSERT_TRUE(std::regex_match(sLine, Match, Line)) << sLine;
        ++aLinesOf[Match.str(1)];
    }
    EXPECT_EQ(aLinesOf.size(), static_cast<std::size_t>(THREADS));
    for (const auto& [sThread, iLines] : aLinesOf)
        EXPECT_EQ(iLines, LINES) << sThread;
}
