// zdv: a backup program that uses ZDV_FTP.DLL as a backup product does, and no more of it than its public header.

#include "host/Backup.h"
#include "host/CommandLine.h"
#include "host/Restore.h"
#include "host/Utf8.h"
#include "host/Versions.h"

#include <fstream>

namespace {

ExitCode Check(Session& Server, const CommandLine& Given)
{
    const std::vector<std::time_t> Versions = Server.Drive().Versions();
    Out().WriteLine("Ready: " + Describe(Server.Target()) + ". It holds " + std::to_string(Versions.size()) +
                    (Versions.size() == 1 ? " version" : " versions") +
                    (Versions.empty() ? "; if this root did not exist, it was created just now."
                                      : ", the newest of " + VersionText(Versions.back()) + "."));
    if (Given.bWrite)
        CheckByWriting(Server);
    return ExitCode::Done;
}

ExitCode Read(Session& Server, const ChosenVersion& Chosen, const std::vector<std::string>& Patterns,
              TargetFolder* pTarget)
{
    Restore Job(Server, Chosen.Tape, Patterns, pTarget);
    Job.Run();
    Out().WriteLine((pTarget == nullptr ? "Compared " : "Restored ") + Job.Summary());
    return Job.Problems() == 0 ? ExitCode::Done : ExitCode::DataDiffers;
}

ExitCode RunBackup(Session& Server, SourceTree Tree, const CommandLine& Given)
{
    Backup Job(Server, Given.Paths, std::move(Tree), Given.uiAreaSize << 20);
    Out().WriteLine("Backing up " + Job.Expected() + ", to " + Describe(Server.Target()) + ".");
    Phase(ExitCode::BackupFailed, "THE BACKUP FAILED, what was written is not complete. ",
          [&] { Job.Write(); });
    Out().WriteLine(
        (Job.Stopped() ? "STOPPED, the version is INCOMPLETE: " : "Backed up as the version of ") +
        VersionText(Job.Version()) + ": " + Job.Summary() + ".\n" + Job.Unsaved());
    if (Job.Stopped())
        return ExitCode::Stopped;
    const auto Compare = [&] {
        Server.Open(Job.Version());
        return Read(Server, {Job.Version(), LookAt(Server)}, {}, nullptr);
    };
    if (Given.bVerify && Phase(ExitCode::DataDiffers, "", Compare) != ExitCode::Done)
        throw CommandFailure(ExitCode::DataDiffers, "THE BACKUP CANNOT BE RELIED ON.");
    if (Job.Problems() == 0)
        return ExitCode::Done;
    Err().WriteLine("BUT not everything was saved as it is, see above: " + std::to_string(Job.Problems()) +
                    ".");
    return ExitCode::DoneWithProblems;
}

ExitCode ReadVersion(Session& Server, const CommandLine& Given)
{
    const ChosenVersion Chosen = OpenVersion(Server, Given.tAt);
    if (Given.enCommand == Command::List)
        return ShowList(Server, Chosen.Tape, Given.Paths) == 0 ? ExitCode::Done : ExitCode::DataDiffers;
    std::optional<TargetFolder> Target;
    if (Given.enCommand == Command::Restore)
        Target.emplace(FromUtf8(Given.sFolder), Given.bReplace);
    Out().WriteLine("Reading " + VersionText(Chosen.tVersion) + "  " + StateText(Chosen.Tape) +
                    (Target ? ", into " + Quoted(DisplayPath(Target->Path())) : ""));
    return Read(Server, Chosen, Given.Paths, Target ? &*Target : nullptr);
}

// The module's pipes are the machine's: one zdv at a time transfers.
FileHandle BeTheOnlyOne()
{
    FileHandle hMutex(CreateMutexW(nullptr, FALSE, L"Global\\zdv-transfer"));
    const DWORD dwWait = hMutex ? WaitForSingleObject(hMutex.get(), 0) : WAIT_TIMEOUT;
    if (dwWait != WAIT_OBJECT_0 && dwWait != WAIT_ABANDONED)
        throw CommandFailure(ExitCode::NotReady,
                             "Another zdv is at work on this computer: only one at a time can "
                             "transfer. Nothing was done; try again when it has finished.");
    return hMutex;
}

std::wstring PasswordFromFile(const std::string& sFile)
{
    std::ifstream File(FullPath(FromUtf8(sFile)).c_str());
    std::string sLine;
    if (!std::getline(File, sLine))
        throw CommandFailure(ExitCode::CommandLine, "No password can be read from " + Quoted(sFile) + ".");
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (sLine.starts_with(BYTE_ORDER_MARK))
        sLine.erase(0, BYTE_ORDER_MARK.size());
    return FromUtf8(sLine);
}

// Logs in, which also lists the versions. What was typed may be typed again.
void Connect(Session& Server, const std::string& sPasswordFile)
{
    const wchar_t* const pPassword = _wgetenv(L"ZDV_PASSWORD");
    const bool bAsk = sPasswordFile.empty() && pPassword == nullptr;
    for (int iTry = 1;; ++iTry)
    {
        const std::optional<std::wstring> sPassword = bAsk ? AskPassword("Password: ")
                                                      : sPasswordFile.empty()
                                                          ? pPassword
                                                          : PasswordFromFile(sPasswordFile);
        if (!sPassword)
            throw CommandFailure(ExitCode::CommandLine, "There is no password: set the environment variable "
                                                        "ZDV_PASSWORD, or give a --password-file.");
        Server.SetPassword(*sPassword);
        try
        {
            return Server.Open();
        }
        catch (const LoginRefused& Error)
        {
            if (!bAsk || iTry == Session::MAX_TRIES)
                throw;
            Err().WriteLine(Error.what());
        }
    }
}

ExitCode Run(const CommandLine& Given)
{
    Phase(ExitCode::NoModule, "", [] { Module(); });
    CatchInterrupts();
    UsePrivileges();
    const FileHandle hMutex = BeTheOnlyOne();
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    std::optional<SourceTree> Tree;
    if (Given.enCommand == Command::Backup)
        Phase(ExitCode::LocalFile,
              "Nothing was written: ", [&] { Tree.emplace(Given.Paths, Given.Excluded); });
    Session Server(Given.Target);
    Phase(ExitCode::NotReady, "", [&] { Connect(Server, Given.sPasswordFile); });
    switch (Given.enCommand)
    {
    case Command::Check:
        return Phase(ExitCode::NotReady, "", [&] { return Check(Server, Given); });
    case Command::Backup:
        return RunBackup(Server, *std::move(Tree), Given);
    case Command::Versions:
        return Phase(ExitCode::DataDiffers, "", [&] { return ShowVersions(Server), ExitCode::Done; });
    default:
        return Phase(ExitCode::DataDiffers, "NOT EVERYTHING WAS READ. ",
                     [&] { return ReadVersion(Server, Given); });
    }
}

} // namespace

int wmain(int iCount, wchar_t** pArguments)
{
    ExitCode enCode = ExitCode::Done;
    try
    {
        if (const std::optional<CommandLine> Given = ParseCommandLine(iCount, pArguments))
            enCode = Run(*Given);
    }
    catch (const CommandFailure& Failure)
    {
        enCode = Failure.Code();
        Err().WriteLine(Failure.what());
    }
    catch (const Interrupted& Stop)
    {
        enCode = ExitCode::Stopped;
        Err().WriteLine(Stop.what());
    }
    catch (const std::exception& Error)
    {
        enCode = ExitCode::Other;
        Err().WriteLine(Error.what());
    }
    return static_cast<int>(enCode);
}
