#include "host/CommandLine.h"

#include "host/Console.h"
#include "host/Utf8.h"
#include "host/VersionTime.h"

#include <CLI/CLI.hpp>

namespace {

constexpr const char* DESCRIPTION =
    "Backs files up to an FTP, FTPS or SFTP server through ZDV_FTP.DLL and restores them.";

constexpr const char* FOOTER = R"(
The password is taken from the environment variable ZDV_PASSWORD, or asked for.

Exit codes:
  0  done
  1  the command line is wrong
  2  the server cannot be reached or is not ready
  3  the backup failed; the version it began is not complete
  4  not everything could be restored, or data differs from what was backed up
  5  a file of this computer cannot be used; nothing was written
  6  ZDV_FTP.DLL cannot be loaded
  7  anything else
)";

constexpr int MAX_PORT = 65535;

void AddServerOptions(CLI::App& Sub, Server& Target, bool bRootRequired)
{
    Sub.add_option("--server", Target.sName, "name or address of the server")->required();
    Sub.add_option("--port", Target.uiPort, "22 means SFTP, 990 FTPS, every other port FTP")
        ->check(CLI::Range(1, MAX_PORT))
        ->capture_default_str();
    Sub.add_option("--root", Target.sRoot, "folder on the server that holds the backups; created if missing")
        ->required(bRootRequired);
    Sub.add_option("--user", Target.sUser, "login name")->required();
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
        m_App.footer(FOOTER);
        Add(Command::Info, "info", "show the module's properties; needs no server");
        AddServerOptions(Add(Command::Check, "check", "tell whether the server can be used, and if not, why"),
                         m_Result.Target, false);
        AddServerOptions(Add(Command::Versions, "versions", "list the dates of the backups, oldest first"),
                         m_Result.Target, false);
        AddBackup();
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
                throw CommandFailure(ExitCode::CommandLine, Complaint.str());
            Out().Write(Help.str());
            return std::nullopt;
        }
        return m_Result;
    }

private:
    CLI::App& Add(Command enCommand, const char* pName, const char* pDescription)
    {
        CLI::App& Sub = *m_App.add_subcommand(pName, pDescription);
        Sub.add_option("--module", m_Result.sModule,
                       "the module's file; the one beside this program if left out");
        Sub.final_callback([this, enCommand] { m_Result.enCommand = enCommand; });
        return Sub;
    }

    void AddBackup()
    {
        CLI::App& Sub =
            Add(Command::Backup, "backup", "write files and folders to the server as a new backup");
        AddServerOptions(Sub, m_Result.Target, true);
        Sub.add_flag("--verify", m_Result.bVerify, "read the backup back and compare");
        Sub.add_option("FILE", m_Result.Files, "files, and folders with all that is in them")->required();
    }

    void AddRestore()
    {
        CLI::App& Sub = Add(Command::Restore, "restore", "bring the files of a backup back");
        AddServerOptions(Sub, m_Result.Target, false);
        Sub.add_option("--into", m_Result.sFolder, "folder to restore into; created if missing")
            ->capture_default_str();
        Sub.add_flag("--overwrite", m_Result.bReplace, "replace files that exist");
        Sub.add_option_function<std::string>(
               "--at", [this](const std::string& sText) { m_Result.tAt = ParseVersionText(sText); },
               "take the newest backup not later than \"dd/mm/yyyy hh:mm:ss\"; the newest of all if left out")
            ->check(CheckVersionText);
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
