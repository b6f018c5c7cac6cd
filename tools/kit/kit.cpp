// Runs the tests that need only a login on a server, and writes what they show to result.txt.
#include "host/Console.h"
#include "host/Errors.h"
#include "host/LocalFile.h"
#include "tools/kit/Tree.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace {

constexpr std::uint64_t MIB = 1 << 20;
constexpr std::uint64_t LARGEST_FILE = 1024 * MIB;
constexpr std::uint64_t BENCH_MIB = 64;

// Those of tape_tests that neither break the server nor look into its disk.
constexpr std::wstring_view TAPE_TESTS =
    L"Story.*:Flight.EverySize*:Server.FailedSetUp*:*Stranger.*:TwoAtOnce.*";

std::wstring Setting(const wchar_t* pName)
{
    const wchar_t* const pValue = _wgetenv(pName);
    return pValue == nullptr ? L"" : pValue;
}

// What a command of cmd.exe itself says.
std::string FromOem(const std::string& sText)
{
    std::wstring sWide(sText.size(), L'\0');
    const int iSize = static_cast<int>(sText.size());
    sWide.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_OEMCP, 0, sText.data(), iSize, sWide.data(), iSize)));
    return ToUtf8(sWide);
}

class Kit
{
public:
    explicit Kit(const std::wstring& sPassword) : m_sPassword(ToUtf8(sPassword)) {}

    const std::string& Summary() const { return m_sSummary; }

    // Lines, which are also shown.
    void Write(const std::string& sLines)
    {
        std::istringstream Lines(sLines);
        for (std::string sLine; std::getline(Lines, sLine);)
        {
            sLine.erase(sLine.find_last_not_of('\r') + 1);
            Say("{}", sLine);
            if (!(m_Result << sLine << "\r\n" << std::flush))
                throw std::runtime_error(
                    "result.txt cannot be written here: unpack this into a folder of your own");
        }
    }

    template <typename Work> bool Step(const std::string& sName, Work work)
    {
        CheckInterrupt();
        Write(fmt::format("\n== {}\n", sName));
        const std::uint64_t uiStart = GetTickCount64(); // milliseconds
        bool bPassed = false;
        try
        {
            bPassed = work();
        }
        catch (const std::exception& Error)
        {
            Write(Error.what());
        }
        m_sSummary += fmt::format("{}  {:>5} s  {}\n", bPassed ? "passed" : "FAILED",
                                  (GetTickCount64() - uiStart) / 1000, sName);
        CheckInterrupt(); // it has also ended the program that ran
        return bPassed;
    }

    // With the module's log of a program that failed.
    bool RunStep(const std::string& sName, const std::wstring& sCommand)
    {
        return Step(sName,
                    [&] { return Run(sCommand) || (Run(L"type Logfiles\\ZDV_FTP_trace.log"), false); });
    }

    // Whether a command ends with 0. What it writes is written here, without the password.
    bool Run(const std::wstring& sCommand, std::string (*decode)(const std::string&) = Unchanged)
    {
        std::FILE* const pOutput = _wpopen((sCommand + L" 2>&1").c_str(), L"rb");
        if (pOutput == nullptr)
            throw std::runtime_error("no command can be started here");
        std::string sLine;
        for (int c = 0; (c = std::fgetc(pOutput)) != EOF;)
            if ((sLine += static_cast<char>(c)).back() == '\n')
                Write(WithoutPassword(decode(std::exchange(sLine, {}))));
        Write(WithoutPassword(decode(sLine)));
        const int iCode = _pclose(pOutput);
        Write(iCode == 0 ? "" : fmt::format("It ended with code {}.\n", iCode));
        return iCode == 0;
    }

private:
    static std::string Unchanged(const std::string& sText) { return sText; }

    std::string WithoutPassword(std::string sText) const
    {
        constexpr std::string_view HIDDEN = "***";
        std::size_t uiAt = m_sPassword.empty() ? sText.npos : 0;
        for (; (uiAt = sText.find(m_sPassword, uiAt)) != sText.npos; uiAt += HIDDEN.size())
            sText.replace(uiAt, m_sPassword.size(), HIDDEN);
        return sText;
    }

    const std::string m_sPassword;
    std::ofstream m_Result{"result.txt", std::ios::binary};
    std::string m_sSummary;
};

// For zdv and for the tests, which write below a folder of their own.
void SetEnvironment(const std::wstring& sPassword)
{
    SYSTEMTIME t;
    GetLocalTime(&t);
    const std::wstring sRoot =
        Setting(L"ZDV_ROOT") + FromUtf8(fmt::format("/zdv-tests-{:04}{:02}{:02}-{:02}{:02}{:02}", t.wYear,
                                                    t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond));
    for (const auto& [pName, sValue] : {std::pair(L"ZDV_PASSWORD", sPassword),
                                        {L"ZDV_ROOT", sRoot + L"/zdv"},
                                        {L"ZDV_TEST_ROOT", sRoot},
                                        {L"ZDV_TEST_SERVER", Setting(L"ZDV_SERVER")},
                                        {L"ZDV_TEST_PORT", Setting(L"ZDV_PORT")},
                                        {L"ZDV_TEST_USER", Setting(L"ZDV_USER")},
                                        {L"ZDV_TEST_PASSWORD", sPassword}})
        SetEnvironmentVariableW(pName, sValue.c_str());
}

void RunSteps(Kit& kit, std::uint64_t uiLargestFile)
{
    const std::wstring sTree = FullPath(L"tree"), sRestored = FullPath(L"restored");
    const auto Clear = [&] {
        RemoveTree(sTree);
        RemoveTree(sRestored);
    };
    kit.RunStep("unit tests", L"unit\\unit_tests.exe --gtest_brief=1 --gtest_filter=-DaylightSaving.*");
    kit.RunStep("unit tests of zdv", L"host_unit_tests.exe --gtest_brief=1");
    kit.RunStep("load tests", L"load_tests.exe --gtest_brief=1");
    kit.RunStep("tape tests", L"tape_tests.exe --gtest_brief=1 --gtest_filter=" + std::wstring(TAPE_TESTS));
    kit.RunStep("zdv check --write", L"zdv.exe check --write");
    kit.Step("files to be backed up", [&] {
        Clear();
        kit.Write(MakeTree(sTree, uiLargestFile));
        kit.Run(L"mklink /J tree\\junction tree\\small", FromOem); // needs no rights, but NTFS
        return true;
    });
    kit.RunStep("zdv backup --verify", L"zdv.exe backup --verify tree");
    kit.RunStep("zdv restore", L"zdv.exe restore --into restored");
    kit.Step("comparison of what was restored", [&] {
        const std::string sDifferent = Differences(sTree, PathIn(sRestored, L"tree"));
        kit.Write(sDifferent);
        return sDifferent.empty();
    });
    Clear();
    kit.Write(
        "\nMiB/s of one object and of many of 64 KiB: the module, libcurl alone (bare) and with a pipe");
    kit.RunStep("speed",
                FromUtf8(fmt::format("bench.exe {} 100 1", std::min(uiLargestFile / MIB, BENCH_MIB))));
}

// Whether there was a server to run all steps with.
bool RunAll(Kit& kit, std::uint64_t uiLargestFile)
{
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr)
        kit.Write("This is Wine, not Windows.");
    kit.Run(LR"(ver & echo %PROCESSOR_IDENTIFIER%, %NUMBER_OF_PROCESSORS% processors & )"
            LR"(reg query "HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion" /v ProductName)",
            FromOem);
    if (!kit.RunStep("zdv --version", L"zdv.exe --version") || !kit.RunStep("zdv check", L"zdv.exe check"))
        return false;
    RunSteps(kit, uiLargestFile);
    return true;
}

int RunKit(std::uint64_t uiLargestFile)
{
    const ConsoleSetup Interruptible;
    const std::optional<std::wstring> sGiven =
        _wgetenv(L"ZDV_PASSWORD") == nullptr ? AskPassword() : Setting(L"ZDV_PASSWORD");
    Kit kit(sGiven.value_or(L""));
    SetEnvironment(sGiven.value_or(L""));
    std::string sEnd;
    try
    {
        if (!RunAll(kit, uiLargestFile))
            sEnd = "Nothing else was run. Correct what is named above and start again.\n";
    }
    catch (const Interrupted&)
    {
        sEnd = "Ctrl+C has ended the rest.\n";
    }
    std::ifstream Steps("steps.txt");
    kit.Write("\n== Summary\n" + kit.Summary() + sEnd + '\n' +
              std::string(std::istreambuf_iterator<char>(Steps), {}));
    return sEnd.empty() && kit.Summary().find("FAILED") == std::string::npos ? 0 : 1;
}

} // namespace

int wmain(int iCount, wchar_t** pArguments)
{
    try
    {
        return RunKit(iCount > 1 ? static_cast<std::uint64_t>(_wtoi(pArguments[1])) * MIB : LARGEST_FILE);
    }
    catch (const Interrupted&) // at the question for the password
    {
        return 1;
    }
    catch (const std::exception& Error)
    {
        Complain("{}", Error.what());
        return 1;
    }
}
