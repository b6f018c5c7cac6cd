#pragma once

#include "host/Device.h"

enum class Command
{
    Check,
    Versions,
    Backup,
    List,
    Verify,
    Restore
};

struct CommandLine
{
    Command enCommand = Command::Check;
    std::string sPasswordFile;
    Server Target;
    std::vector<std::string> Paths; // to back up; or patterns of what is wanted
    std::vector<std::string> Excluded;
    std::uint64_t uiAreaSize = 2048; // MiB
    bool bVerify = false;
    bool bFetchCloudFiles = false;
    bool bWrite = false;
    std::string sFolder;
    bool bReplace = false;
    std::optional<std::time_t> tAt;
};

// Takes a URL that was given as the server's name, such as sftp://user@nas/folder, apart. Throws a CLI::ParseError
// for one that is wrong, or when something is missing: the port chooses the protocol, so nobody guesses it.
void CompleteServer(Server& Target);

// Throws a CommandFailure for a command line that is wrong; nothing when help was asked for and given.
std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments);
