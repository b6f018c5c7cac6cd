// The reference host: uses ZDV_FTP.DLL as a backup product does, and no more of it than its public header.

#include "host/Backup.h"
#include "host/CommandLine.h"
#include "host/Console.h"
#include "host/Restore.h"
#include "host/Utf8.h"
#include "host/VersionTime.h"

#include <algorithm>
#include <array>

namespace {

void ShowInfo(const Module& Functions)
{
    struct Property
    {
        std::uint32_t uiCategory;
        const char* pLabel;
    };
    static constexpr Property PROPERTIES[] = {
        {ZDV_GMP_DESC, "description"},
        {ZDV_GMP_VER, "version"},
        {ZDV_GMP_CLASS, "class"},
        {ZDV_GMP_DATE, "built"},
        {ZDV_GMP_CHANGER_SUPPORT, "changer support"},
        {ZDV_GMP_SM_CLASS, "support module class"},
        {ZDV_GMP_IS_ZDV_REMOTE, "remote"},
    };
    constexpr std::size_t LABEL_WIDTH = 22;
    for (const Property& Shown : PROPERTIES)
    {
        std::array<wchar_t, 256> aText{};
        if (Functions.GetModulePropertyW(Shown.uiCategory, aText.data(), aText.size()) != ZDV_SUCCESS)
            throw std::runtime_error(std::string("the module does not tell its ") + Shown.pLabel);
        std::string sLine = Shown.pLabel;
        sLine.resize(LABEL_WIDTH, ' ');
        Out().WriteLine(sLine + ToUtf8(aText.data()));
    }
}

void ShowReadiness(const Device& Drive, const Server& Target)
{
    const std::vector<std::time_t> Versions = Drive.Versions();
    std::string sBackups = std::to_string(Versions.size()) + (Versions.size() == 1 ? " backup" : " backups");
    if (!Versions.empty())
        sBackups += ", the newest of " + VersionText(Versions.back());
    Out().WriteLine("Ready: " + Describe(Target) + ". It holds " + sBackups + ".");
}

void ShowVersions(const Device& Drive)
{
    for (const std::time_t tVersion : Drive.Versions())
        Out().WriteLine(VersionText(tVersion));
}

std::vector<SourceFile> OpenSources(const CommandLine& Given)
{
    std::vector<std::wstring> Paths;
    for (const std::string& sFile : Given.Files)
        Paths.push_back(FromUtf8(sFile));
    return OpenSourceFiles(Paths);
}

void RunBackup(Device& Drive, std::vector<SourceFile>& Sources, const CommandLine& Given)
{
    Backup Tape(Drive, Sources);
    Out().WriteLine("Backing up " + Tape.Contents() + ", to " + Describe(Given.Target) + ".");
    Phase(ExitCode::BackupFailed, "THE BACKUP FAILED, what was written is not complete. ",
          [&] { Tape.Write(); });
    if (Given.bVerify)
        Phase(ExitCode::DataDiffers, "THE BACKUP CANNOT BE RELIED ON. ", [&] { Tape.Verify(); });
    Out().WriteLine("Backed up " + Tape.Contents() + ", as the version of " + VersionText(Tape.Version()) +
                    (Given.bVerify ? "; read back and found the same." : "; not read back."));
}

std::time_t ChooseVersion(const Device& Drive, const CommandLine& Given)
{
    const std::vector<std::time_t> Versions = Drive.Versions();
    if (Versions.empty())
        throw std::runtime_error("There is no backup at " + Describe(Given.Target) + ".");
    if (!Given.tAt)
        return Versions.back();
    const auto Later = std::ranges::upper_bound(Versions, *Given.tAt);
    if (Later == Versions.begin())
        throw std::runtime_error("There is no backup of " + VersionText(*Given.tAt) +
                                 " or earlier: the oldest is of " + VersionText(Versions.front()) + ".");
    return *std::prev(Later);
}

void RunRestore(Device& Drive, const CommandLine& Given)
{
    const std::time_t tVersion =
        Phase(ExitCode::DataDiffers, "", [&] { return ChooseVersion(Drive, Given); });
    Out().WriteLine("Restoring the version of " + VersionText(tVersion) + " from " + Describe(Given.Target) +
                    ".");
    Phase(ExitCode::DataDiffers, "NOT EVERYTHING WAS RESTORED. ", [&] {
        Restore Job(Drive, FromUtf8(Given.sFolder), Given.bReplace);
        Job.Run(tVersion);
        if (!Job.Complete())
            throw std::runtime_error(Job.Summary());
        Out().WriteLine(Job.Summary());
    });
}

std::wstring Password()
{
    if (const wchar_t* pPassword = _wgetenv(L"ZDV_PASSWORD"))
        return pPassword;
    if (const std::optional<std::wstring> sTyped = AskPassword("Password: "))
        return *sTyped;
    throw CommandFailure(ExitCode::CommandLine,
                         "There is no password: set the environment variable ZDV_PASSWORD.");
}

void RunOnServer(const Module& Functions, CommandLine& Given)
{
    std::vector<SourceFile> Sources;
    if (Given.enCommand == Command::Backup)
        Sources = Phase(ExitCode::LocalFile, "Nothing was written: ", [&] { return OpenSources(Given); });
    Given.Target.sPassword = Password();
    const auto Drive = Phase(ExitCode::NotReady, "", [&] {
        auto Opened = std::make_unique<Device>(Functions);
        Connect(*Opened, Given.Target);
        return Opened;
    });
    switch (Given.enCommand)
    {
    case Command::Backup:
        return RunBackup(*Drive, Sources, Given);
    case Command::Restore:
        return RunRestore(*Drive, Given);
    case Command::Versions:
        return Phase(ExitCode::NotReady, "", [&] { ShowVersions(*Drive); });
    case Command::Check:
        return Phase(ExitCode::NotReady, "", [&] { ShowReadiness(*Drive, Given.Target); });
    case Command::Info:
        return;
    }
}

void Run(CommandLine Given)
{
    const Module Functions = Phase(ExitCode::NoModule, "", [&] {
        return Module(Given.sModule.empty() ? DefaultModulePath() : FromUtf8(Given.sModule));
    });
    if (Given.enCommand == Command::Info)
        ShowInfo(Functions);
    else
        RunOnServer(Functions, Given);
}

} // namespace

int wmain(int iCount, wchar_t** pArguments)
{
    try
    {
        if (std::optional<CommandLine> Given = ParseCommandLine(iCount, pArguments))
            Run(std::move(*Given));
        return static_cast<int>(ExitCode::Done);
    }
    catch (const CommandFailure& Failure)
    {
        Err().WriteLine(Failure.what());
        return static_cast<int>(Failure.Code());
    }
    catch (const std::exception& Error)
    {
        Err().WriteLine(Error.what());
        return static_cast<int>(ExitCode::Other);
    }
}
