#include "host/CommandLine.h"

#include "host/Errors.h"
#include "host/TapeFormat.h"

#include <CLI/CLI.hpp>
#include <archive.h>
#include <regex>

namespace {

constexpr const char* DESCRIPTION =
    "Backs files up to an FTP, FTPS or SFTP server through ZDV_FTP.DLL and restores them.";

constexpr const char* FOOTER = R"(
zdv COMMAND --help explains a command. Server, port, user and root can also come from the environment variables
ZDV_SERVER, ZDV_PORT, ZDV_USER and ZDV_ROOT. The server can be a URL with user and root: sftp://USER@NAME/ROOT, or
the same with ftps:// or ftp://. A bare name needs a port. zdv asks for the password, unless it finds it in a
--password-file or in ZDV_PASSWORD. A pattern without "/" matches names in any folder ("*.docx"), one with "/" matches
whole paths in the backup ("Documents/2024"). "*" and "?" match "/", too. A folder that matches means all that is in it.

Exit codes:
  0  everything was done
  1  the command line is wrong
  2  the server cannot be reached or is not ready, or another zdv is running
  3  the backup failed; the version it began is not complete
  4  something could not be restored or read, or differs from what was backed up; or there is no such backup
  5  a file of this computer cannot be used; nothing was written
  6  ZDV_FTP.DLL cannot be loaded
  7  anything else
  8  done, but some files were not saved as they were: zdv names each of them
  9  stopped by Ctrl+C: what was under way is not complete; a second Ctrl+C ends the program at once
)";

constexpr int MAX_PORT = 65535;
constexpr std::uint64_t MAX_AREA_MIB = std::uint64_t{1} << 30;

std::string CheckVersionText(const std::string& sText)
{
    return ParseVersionText(sText) ? ""
                                   : Quoted(sText) + " is no date: write 2024-12-31, 2024-12-31T23:59:59 or "
                                                     "\"31/12/2024 23:59:59\"";
}

// CLI11 reads the environment in the system's code page, which may lack characters of a folder's name.
void AddServerText(CLI::App& Sub, const char* pName, const wchar_t* pVariable, std::string& sValue,
                   const char* pDescription)
{
    if (const wchar_t* const pValue = _wgetenv(pVariable))
        sValue = ToUtf8(pValue);
    Sub.add_option(pName, sValue, pDescription);
}

CLI::App& AddCommand(CLI::App& App, Command enCommand, const char* pName, const char* pDescription,
                     CommandLine& Given)
{
    CLI::App& Sub = *App.add_subcommand(pName, pDescription);
    Sub.final_callback([&, enCommand] { Given.enCommand = enCommand; });
    AddServerText(Sub, "--server", L"ZDV_SERVER", Given.Target.sName,
                  "name or address of the server, or a URL, such as sftp://nas");
    Sub.add_option("--port", Given.Target.uiPort, "22 means SFTP, 990 FTPS, every other port FTP")
        ->check(CLI::Range(1, MAX_PORT))
        ->envname("ZDV_PORT");
    AddServerText(Sub, "--user", L"ZDV_USER", Given.Target.sUser, "login name");
    AddServerText(Sub, "--root", L"ZDV_ROOT", Given.Target.sRoot,
                  "folder on the server that holds the backups; created if missing");
    Sub.add_option("--password-file", Given.sPasswordFile,
                   "take the password from this file's first line, in UTF-8");
    return Sub;
}

CLI::App& AddReader(CLI::App& App, Command enCommand, const char* pName, const char* pDescription,
                    CommandLine& Given)
{
    CLI::App& Sub = AddCommand(App, enCommand, pName, pDescription, Given);
    Sub.add_option_function<std::string>(
           "--at", [&](const std::string& sText) { Given.tAt = ParseVersionText(sText); },
           "take the newest complete backup up to this time: yyyy-mm-dd (the end of that day), "
           "yyyy-mm-ddThh:mm:ss or \"dd/mm/yyyy hh:mm:ss\". A backup of exactly this second is taken even "
           "if it is not complete. Without --at the newest complete backup is taken")
        ->check(CheckVersionText);
    if (enCommand != Command::Verify)
        Sub.add_option("PATTERN", Given.Paths, "what is wanted; all if left out");
    return Sub;
}

void AddCommands(CLI::App& App, CommandLine& Given)
{
    AddCommand(App, Command::Check, "check", "say whether the server can be used, and if not, why", Given)
        .add_flag("--write", Given.bWrite,
                  "also write a version of one block, find it again and read it back");
    CLI::App& Backup = AddCommand(App, Command::Backup, "backup",
                                  "write files, folders and drives to the server as a new backup", Given);
    Backup
        .add_option("--exclude", Given.Excluded, "a pattern of what to leave out; may be given several times")
        ->allow_extra_args(false);
    Backup.add_flag("--fetch-cloud-files", Given.bFetchCloudFiles,
                    "download files that lie in a cloud and not here, and save them too");
    Backup.add_flag("--verify", Given.bVerify, "read the backup back and compare");
    Backup
        .add_option("--area-size", Given.uiAreaSize,
                    "MiB that may have to be sent again when the connection breaks; a larger file is sent "
                    "again whole")
        ->check(CLI::Range(std::uint64_t{1}, MAX_AREA_MIB))
        ->capture_default_str();
    Backup.add_option("PATH", Given.Paths, "files, and folders and drives with all that is in them")
        ->required();
    AddCommand(App, Command::Versions, "versions",
               "list the backups, oldest first, and whether they are complete", Given);
    AddReader(App, Command::List, "list", "show what a backup holds, without reading the data", Given);
    AddReader(App, Command::Verify, "verify", "read a backup and compare it with its own record", Given);
    CLI::App& Restore =
        AddReader(App, Command::Restore, "restore", "bring the files of a backup back", Given);
    Restore.add_option("--into", Given.sFolder, "folder to restore into; created if missing")->required();
    Restore.add_flag("--overwrite", Given.bReplace, "replace files that exist");
}

// Takes a value from the URL. Throws if an option or the environment gives another one: nobody knows which is meant.
template <typename Value, typename Meaning = std::identity>
void SetOnce(const char* pName, Value& Into, const Value& FromUrl, Meaning meaning = {})
{
    if (Into != Value() && meaning(Into) != meaning(FromUrl))
        throw CLI::ValidationError(
            "--server",
            fmt::format("the {0} in the URL differs from --{0} or the environment: give only one", pName));
    Into = FromUrl;
}

// As the module does: backslashes become slashes, and one slash at the beginning is dropped.
std::string RootAsUnderstood(std::string sRoot)
{
    std::ranges::replace(sRoot, '\\', '/');
    return sRoot.substr(sRoot.starts_with('/'));
}

unsigned PortOf(const std::string& sDigits)
{
    const int iPort = std::stoi(sDigits);
    if (iPort < 1 || iPort > MAX_PORT)
        throw CLI::ValidationError("--server", fmt::format("a port is a number from 1 to {}", MAX_PORT));
    return static_cast<unsigned>(iPort);
}

} // namespace

void CompleteServer(Server& Target)
{
    static const std::regex URL(
        R"((sftp|ftps|ftp)://(?:([^/]*)@)?(\[[^/\]]*\]|[^/:@\[]+)(?::(\d{1,5}))?(/.*)?)", std::regex::icase);
    constexpr std::pair<const char*, unsigned> DEFAULT_PORTS[] = {{"sftp", 22}, {"ftps", 990}, {"ftp", 21}};
    const std::string sGiven = Target.sName;
    std::smatch Parts;
    if (std::regex_match(sGiven, Parts, URL))
    {
        const std::string sScheme = CLI::detail::to_lower(Parts[1]);
        if (Parts[4].matched)
            SetOnce("port", Target.uiPort, PortOf(Parts[4]));
        for (const auto& [pScheme, uiPort] : DEFAULT_PORTS)
            if (Target.uiPort == 0 && sScheme == pScheme)
                Target.uiPort = uiPort;
        Target.sName = Parts[3];
        if (Parts[2].str().find(':') != std::string::npos)
            throw CLI::ValidationError(
                "--server", "the URL holds a password: leave it out, since others can read it there");
        if (Parts[2].matched)
            SetOnce("user", Target.sUser, Parts[2].str());
        if (Parts[5].length() > 1)
            SetOnce("root", Target.sRoot, Parts[5].str(), RootAsUnderstood);
        if (sScheme != SchemeOf(Target.uiPort))
            throw CLI::ValidationError("--server", fmt::format("port {} means {}, not {}. {}", Target.uiPort,
                                                               SchemeOf(Target.uiPort), sScheme, PORT_RULE));
    }
    else if (sGiven.find("://") != std::string::npos)
        throw CLI::ValidationError("--server", Quoted(sGiven) +
                                                   " is no server: write sftp://NAME, ftps://NAME or "
                                                   "ftp://NAME, if need be with :PORT and /ROOT");
    for (const auto& [pOption, bMissing] : {std::pair("--server or ZDV_SERVER", Target.sName.empty()),
                                            {"--user or ZDV_USER", Target.sUser.empty()},
                                            {"--root or ZDV_ROOT", Target.sRoot.empty()}})
        if (bMissing)
            throw CLI::RequiredError(pOption);
    if (Target.uiPort == 0)
        throw CLI::ValidationError("--server", "the protocol is missing: write sftp://" + sGiven +
                                                   ", or give a --port. " + PORT_RULE);
}

std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments)
{
    CommandLine Given;
    CLI::App App(DESCRIPTION, "zdv");
    App.allow_windows_style_options(false); // "/" begins a path
    App.require_subcommand(0, 1); // with at least 1, CLI11 would not name a command that was mistyped
    App.set_version_flag("--version", std::string(PROGRAM) + ", " + archive_version_string());
    App.footer(FOOTER);
    AddCommands(App, Given);
    std::vector<std::string> Arguments; // CLI11 takes them backwards
    for (int i = iCount - 1; i > 0; --i)
        Arguments.push_back(ToUtf8(pArguments[i]));
    try
    {
        App.parse(Arguments);
        if (App.get_subcommands().empty())
            throw CLI::RequiredError("A COMMAND");
        CompleteServer(Given.Target);
        return Given;
    }
    catch (const CLI::ParseError& Error)
    {
        std::ostringstream Help;
        std::ostringstream Complaint;
        if (App.exit(Error, Help, Complaint) != 0)
            throw CommandFailure{ExitCode::CommandLine, quorvel::WithoutPassword(Complaint.str())};
        Write(STD_OUTPUT_HANDLE, Help.str());
        return std::nullopt;
    }
}
