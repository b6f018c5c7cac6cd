#include "host/CommandLine.h"

#include "host/Utf8.h"
#include "host/Versions.h"

#include <CLI/CLI.hpp>

namespace {

constexpr const char* DESCRIPTION =
    "Backs files up to an FTP, FTPS or SFTP server through ZDV_FTP.DLL and restores them.";

constexpr const char* FOOTER = R"(
zdv COMMAND --help explains a command. Server, port, user and root may also be given by the environment variables
ZDV_SERVER, ZDV_PORT, ZDV_USER and ZDV_ROOT. The password is taken from ZDV_PASSWORD or a --password-file, or
asked for. Patterns have "*" and "?"; one without "/" is that of a name in any folder ("*.docx"), one with "/" that
of a whole path in the backup ("Documents/2024"). A folder means all that is in it.

Exit codes:
  0  done
  1  the command line is wrong
  2  the server cannot be reached or is not ready, or another zdv is at work
  3  the backup failed; the version it began is not complete
  4  not everything could be restored or read, data differs from what was backed up, or there is no such backup
  5  a file of this computer cannot be used; nothing was written
  6  ZDV_FTP.DLL cannot be loaded
  7  anything else
  8  the backup is complete, but for some files that could not be read or were changed meanwhile
  9  stopped by Ctrl+C
)";

constexpr int MAX_PORT = 65535;

std::string FromEnvironment(const wchar_t* pName)
{
    const wchar_t* const pValue = _wgetenv(pName);
    return pValue == nullptr ? "" : ToUtf8(pValue);
}

std::string CheckVersionText(const std::string& sText)
{
    return ParseVersionText(sText) ? "" : "no date and time of the form \"31/12/2024 23:59:59\": " + sText;
}

class Parser
{
public:
    Parser()
    {
        m_App.allow_windows_style_options(false); // "/" begins a path
        m_App.require_subcommand(1);
        m_App.set_version_flag("--version", PROGRAM);
        m_App.footer(FOOTER);
        m_Result.Target.sName = FromEnvironment(L"ZDV_SERVER");
        m_Result.Target.sUser = FromEnvironment(L"ZDV_USER");
        m_Result.Target.sRoot = FromEnvironment(L"ZDV_ROOT");
        Add(Command::Check, "check", "tell whether the server can be used, and if not, why")
            .add_flag("--write", m_Result.bWrite,
                      "also write a version of one block, find it again and read it back");
        AddBackup();
        Add(Command::Versions, "versions", "list the backups, oldest first, and whether they are complete");
        AddReader(Command::List, "list", "show what a backup holds, without reading the data");
        AddReader(Command::Verify, "verify", "read a backup and compare it with its own record");
        AddRestore();
    }

    std::optional<CommandLine> Parse(const std::vector<std::string>& Arguments)
    {
        std::vector<const char*> Pointers;
        for (const std::string& sArgument : Arguments)
            Pointers.push_back(sArgument.c_str());
        try
        {
            m_App.parse(static_cast<int>(Pointers.size()), Pointers.data());
        }
        catch (const CLI::ParseError& Error)
        {
            std::ostringstream Help;
            std::ostringstream Complaint;
            if (m_App.exit(Error, Help, Complaint) != 0)
                throw CommandFailure(ExitCode::CommandLine, WithoutPassword(Complaint.str()));
            Out().Write(Help.str());
            return std::nullopt;
        }
        return m_Result;
    }

private:
    CLI::App& Add(Command enCommand, const char* pName, const char* pDescription)
    {
        CLI::App& Sub = *m_App.add_subcommand(pName, pDescription);
        Sub.final_callback([this, enCommand] { m_Result.enCommand = enCommand; });
        Server& Target = m_Result.Target;
        Sub.add_option("--server", Target.sName, "name or address of the server")
            ->required(Target.sName.empty());
        Sub.add_option("--port", Target.uiPort, "22 means SFTP, 990 FTPS, every other port FTP")
            ->check(CLI::Range(1, MAX_PORT))
            ->envname("ZDV_PORT")
            ->capture_default_str();
        Sub.add_option("--user", Target.sUser, "login name")->required(Target.sUser.empty());
        Sub.add_option("--root", Target.sRoot,
                       "folder on the server that holds the backups; created if missing")
            ->required(Target.sRoot.empty());
        Sub.add_option("--password-file", m_Result.sPasswordFile,
                       "take the password from this file's first line");
        return Sub;
    }

    void AddBackup()
    {
        constexpr std::uint64_t MAX_AREA_MIB = std::uint64_t{1} << 30;
        CLI::App& Sub =
            Add(Command::Backup, "backup", "write files, folders and drives to the server as a new backup");
        Sub.add_option("--exclude", m_Result.Excluded, "patterns of what to leave out")
            ->allow_extra_args(false);
        Sub.add_flag("--verify", m_Result.bVerify, "read the backup back and compare");
        Sub.add_option("--area-size", m_Result.uiAreaSize,
                       "MiB that a broken connection costs at most, but for larger files")
            ->check(CLI::Range(std::uint64_t{1}, MAX_AREA_MIB))
            ->capture_default_str();
        Sub.add_option("PATH", m_Result.Paths, "files, and folders and drives with all that is in them")
            ->required();
    }

    CLI::App& AddReader(Command enCommand, const char* pName, const char* pDescription)
    {
        CLI::App& Sub = Add(enCommand, pName, pDescription);
        Sub.add_option_function<std::string>(
               "--at", [this](const std::string& sText) { m_Result.tAt = ParseVersionText(sText); },
               "take the newest complete backup not later than \"dd/mm/yyyy hh:mm:ss\", or the one of that "
               "very "
               "second, complete or not; the newest complete one if left out")
            ->check(CheckVersionText);
        if (enCommand != Command::Verify)
            Sub.add_option("PATTERN", m_Result.Paths, "what is wanted; all if left out");
        return Sub;
    }

    void AddRestore()
    {
        CLI::App& Sub = AddReader(Command::Restore, "restore", "bring the files of a backup back");
        Sub.add_option("--into", m_Result.sFolder, "folder to restore into; created if missing")->required();
        Sub.add_flag("--overwrite", m_Result.bReplace, "replace files that exist");
    }

    CLI::App m_App{DESCRIPTION, "zdv"};
    CommandLine m_Result;
};

} // namespace

std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments)
{
    std::vector<std::string> Arguments;
    for (int i = 0; i < iCount; ++i)
        Arguments.push_back(ToUtf8(pArguments[i]));
    return Parser().Parse(Arguments);
}
