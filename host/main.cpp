// zdv: a backup program that uses ZDV_FTP.DLL as any host does, through its public header.

#include "host/Backup.h"
#include "host/CommandLine.h"
#include "host/FtpTls.h"
#include "host/Restore.h"
#include "host/Versions.h"

#include <curl/curl.h> // its error numbers, which the module hands on
#include <fstream>

namespace {

ExitCode Check(Session& Current, bool bWrite)
{
    const std::vector<std::time_t> Versions = Current.Drive().Versions();
    Say("Ready: {}. The root holds {}{}", Describe(Current.Target()), CountText(Versions.size(), "version"),
        Versions.empty() ? "; if this root did not exist, it was created just now."
                         : ", the newest of " + VersionText(Versions.back()) + '.');
    const bool bFtp = SchemeOf(Current.Target().uiPort) == std::string("ftp");
    if (bFtp && HasListedKeys(Current.Target()))
        Say("Encrypted: zlt.ini lists the server's keys, so a server without encryption is refused.");
    else if (bFtp)
    {
        const std::optional<bool> bTls = OffersTls(Current.Target());
        Say("{}",
            !bTls   ? "Perhaps NOT ENCRYPTED: the server did not say whether it offers TLS."
            : *bTls ? "Encrypted: the server offers TLS. Only a listed key makes sure that the data is "
                      "encrypted, too."
                    : "NOT ENCRYPTED: the server offers no TLS. Others on the network can read the password "
                      "and the backup.");
    }
    Say("{}", DescribeIdentity(Current.Target()));
    if (bWrite)
        CheckByWriting(Current);
    return ExitCode::Done;
}

ExitCode Read(Session& Current, const CommandLine& Given)
{
    const ChosenVersion Chosen =
        Phase(ExitCode::DataDiffers, "", [&] { return OpenVersion(Current, Given.tAt); });
    std::optional<TargetFolder> Target;
    if (Given.enCommand == Command::Restore)
        Phase(ExitCode::LocalFile,
              "Nothing was written: ", [&] { Target.emplace(FromUtf8(Given.sFolder), Given.bReplace); });
    Say("{} {}  {}{}", Given.enCommand == Command::List ? "Listing" : "Reading", VersionText(Chosen.tVersion),
        StateText(Chosen.Tape), Target ? ", into " + Quoted(DisplayPath(Target->Path())) : "");
    return Phase(ExitCode::DataDiffers, "NOT EVERYTHING WAS READ: ", [&] {
        return ReadVersion(Current, Chosen.Tape, Given.enCommand, Given.Paths, Target ? &*Target : nullptr);
    });
}

// The module's pipes exist once per machine, and a backup reads, too: a second zdv could break its connection even by
// listing the versions.
FileHandle BeTheOnlyOne()
{
    FileHandle hMutex(CreateMutexW(nullptr, FALSE, L"Global\\zdv-transfer"));
    const DWORD dwWait = hMutex ? WaitForSingleObject(hMutex.get(), 0) : WAIT_TIMEOUT;
    if (dwWait != WAIT_OBJECT_0 && dwWait != WAIT_ABANDONED)
        throw CommandFailure{ExitCode::NotReady,
                             "Another zdv is running on this computer, and only one can run at a time. "
                             "Nothing was done: try again when the other one has finished."};
    return hMutex;
}

std::wstring PasswordFromFile(const std::string& sFile)
{
    std::ifstream File(FullPath(FromUtf8(sFile)).c_str());
    std::string sLine;
    if (!std::getline(File, sLine) || sLine.starts_with("\xFF\xFE")) // the beginning of UTF-16
        throw CommandFailure{ExitCode::CommandLine,
                             "No password can be read from " + Quoted(sFile) +
                                 ". Save the file as text in UTF-8, with the password in its first line."};
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (sLine.starts_with(BYTE_ORDER_MARK))
        sLine.erase(0, BYTE_ORDER_MARK.size());
    return FromUtf8(sLine);
}

// Logs in, which also lists the versions. A password that was typed is asked for again if it was wrong.
void Connect(Session& Current, const std::string& sPasswordFile)
{
    const wchar_t* const pPassword = _wgetenv(L"ZDV_PASSWORD");
    const bool bAsk = sPasswordFile.empty() && pPassword == nullptr;
    for (int iTry = 1;; ++iTry)
    {
        const std::optional<std::wstring> sPassword = bAsk ? AskPassword()
                                                      : sPasswordFile.empty()
                                                          ? pPassword
                                                          : PasswordFromFile(sPasswordFile);
        if (!sPassword)
            throw CommandFailure{ExitCode::CommandLine, "There is no password: set the environment variable "
                                                        "ZDV_PASSWORD, or give a --password-file."};
        Current.SetPassword(*sPassword);
        try
        {
            return Current.Open();
        }
        catch (const DeviceError& Error)
        {
            const std::string sText = Explain(Current.Target(), Error);
            if (!bAsk || iTry == Session::MAX_TRIES || Error.uiCode != CURLE_LOGIN_DENIED)
                throw CommandFailure{ExitCode::NotReady, sText};
            Complain("{}", sText);
        }
    }
}

ExitCode Run(const CommandLine& Given)
{
    const ConsoleSetup Console;
    UsePrivileges();
    const FileHandle hMutex = BeTheOnlyOne();
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    std::optional<SourceTree> Tree;
    if (Given.enCommand == Command::Backup)
        Phase(ExitCode::LocalFile, "Nothing was written: ", [&] {
            Tree.emplace(Given.Paths, Given.Excluded, Given.bFetchCloudFiles);
        });
    Session Current(Given.Target);
    Connect(Current, Given.sPasswordFile);
    switch (Given.enCommand)
    {
    case Command::Check:
        return Phase(ExitCode::NotReady, "", [&] { return Check(Current, Given.bWrite); });
    case Command::Backup:
        return RunBackup(Current, Given, *std::move(Tree));
    case Command::Versions:
        return Phase(ExitCode::DataDiffers, "", [&] { return ShowVersions(Current); });
    default:
        return Read(Current, Given);
    }
}

} // namespace

int wmain(int iCount, wchar_t** pArguments)
{
    ExitCode enCode = ExitCode::Done;
    try
    {
        const std::optional<CommandLine> Given = ParseCommandLine(iCount, pArguments);
        if (Given)
            enCode = Phase(ExitCode::Other, "", [&] { return Run(*Given); });
    }
    catch (const CommandFailure& Failure)
    {
        enCode = Failure.enCode;
        Complain("{}", Failure.sText);
    }
    catch (const Interrupted&)
    {
        enCode = ExitCode::Stopped;
        Complain("Stopped by Ctrl+C: what was under way is not complete.");
    }
    return static_cast<int>(enCode);
}
