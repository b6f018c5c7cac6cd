// Runs all that needs nothing of a server but a login, and keeps what is seen in result.txt.
#include "host/Console.h"
#include "host/LocalFile.h"
#include "tests/kit/Tree.h"

#include <array>
#include <cstdio>
#include <fstream>

namespace {

constexpr std::uint64_t MIB = 1 << 20;
constexpr std::uint64_t LARGEST_FILE = 1024 * MIB;

// Those of tape_tests that neither break the server nor look into its disk.
constexpr std::wstring_view TAPE_TESTS =
    L"Story.*:Flight.EverySize*:Server.IPv6*:Server.FailedSetUp*:Server.PasswordIs*:*Stranger.*:TwoAtOnce.*";

std::wstring Setting(const wchar_t* pName)
{
    const wchar_t* const pValue = _wgetenv(pName);
    return pValue == nullptr ? L"" : pValue;
}

class Kit
{
public:
    explicit Kit(const std::wstring& sPassword) : m_sPassword(ToUtf8(sPassword))
    {
        if (!m_Result)
            Complain("result.txt cannot be written: unpack this into a folder of your own.");
    }

    const std::string& Summary() const { return m_sSummary; }

    // Also shown. The password is left out, wherever it comes from.
    void Write(std::string_view sText)
    {
        for (const char c : sText)
            if (c != '\n')
                m_sLine += c;
            else
                EndLine();
    }

    template <typename Work> bool Step(const std::string& sName, Work work)
    {
        Write(fmt::format("\n== {}\n", sName));
        const std::uint64_t uiStart = GetTickCount64(); // milliseconds
        bool bPassed = false;
        try
        {
            bPassed = work();
        }
        catch (const std::exception& Error)
        {
            Write(std::string(Error.what()) + '\n');
        }
        m_sSummary += fmt::format("{}  {:>5} s  {}\n", bPassed ? "passed" : "FAILED",
                                  (GetTickCount64() - uiStart) / 1000, sName);
        return bPassed;
    }

    // With the module's log of a program that failed.
    bool RunStep(const std::string& sName, const std::wstring& sCommand)
    {
        return Step(sName,
                    [&] { return Run(sCommand) || (Run(L"type Logfiles\\ZDV_FTP_trace.log"), false); });
    }

    // Whether a command ends with 0. What it writes is written here.
    bool Run(const std::wstring& sCommand)
    {
        std::FILE* const pOutput = _wpopen((sCommand + L" 2>&1").c_str(), L"rb");
        if (pOutput == nullptr)
            throw std::runtime_error("no command can be started here");
        for (std::array<char, 4096> aText; std::fgets(aText.data(), aText.size(), pOutput) != nullptr;)
            Write(aText.data());
        const int iCode = _pclose(pOutput);
        Write(iCode == 0 ? "" : fmt::format("It ended with code {}.\n", iCode));
        return iCode == 0;
    }

private:
    void EndLine()
    {
        m_sLine.erase(m_sLine.find_last_not_of('\r') + 1);
        constexpr std::string_view HIDDEN = "***";
        std::size_t uiAt = m_sPassword.empty() ? m_sLine.npos : 0;
        while ((uiAt = m_sLine.find(m_sPassword, uiAt)) != m_sLine.npos)
        {
            m_sLine.replace(uiAt, m_sPassword.size(), HIDDEN);
            uiAt += HIDDEN.size();
        }
        Say("{}", m_sLine);
        m_Result << m_sLine << "\r\n" << std::flush;
        m_sLine.clear();
    }

    const std::string m_sPassword;
    std::ofstream m_Result{"result.txt", std::ios::binary};
    std::string m_sLine, m_sSummary;
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
    kit.RunStep("load tests", L"load_tests.exe --gtest_brief=1");
    kit.RunStep("tape tests", L"tape_tests.exe --gtest_brief=1 --gtest_filter=" + std::wstring(TAPE_TESTS));
    kit.RunStep("zdv check --write", L"zdv.exe check --write");
    kit.Step("files to be backed up", [&] {
        Clear();
        kit.Write(MakeTree(sTree, uiLargestFile));
        kit.Run(L"mklink /J tree\\junction tree\\small"); // needs no rights, but NTFS
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
        "\nMiB/s of one object and of many of 64 KiB: the module, libcurl alone (bare) and with a pipe\n");
    kit.RunStep("speed", FromUtf8(fmt::format("bench.exe {} 100 1",
                                              std::min<std::uint64_t>(uiLargestFile / MIB, 256))));
}

} // namespace

int wmain(int iCount, wchar_t** pArguments)
{
    const std::optional<std::wstring> sGiven =
        _wgetenv(L"ZDV_PASSWORD") == nullptr ? AskPassword() : Setting(L"ZDV_PASSWORD");
    const std::wstring sPassword = sGiven.value_or(L"");
    Kit kit(sPassword);
    SetEnvironment(sPassword);
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr)
        kit.Write("This is Wine, not Windows.\n");
    kit.Run(LR"(ver & echo %PROCESSOR_IDENTIFIER%, %NUMBER_OF_PROCESSORS% processors & )"
            LR"(reg query "HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion" /v ProductName)");
    const bool bReady =
        kit.RunStep("zdv --version", L"zdv.exe --version") && kit.RunStep("zdv check", L"zdv.exe check");
    if (bReady)
        RunSteps(kit, iCount > 1 ? static_cast<std::uint64_t>(_wtoi(pArguments[1])) * MIB : LARGEST_FILE);
    kit.Write("\n== Summary\n" + kit.Summary());
    if (!bReady)
        kit.Write("Nothing else was run. Mend what is named above and start again.\n");
    kit.Write("\n");
    kit.Run(L"type steps.txt");
    return kit.Summary().find("FAILED") == std::string::npos ? 0 : 1;
}
