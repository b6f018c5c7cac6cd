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

// Splits a server that was given as a URL, such as sftp://user@nas/folder. Throws a CLI::ParseError if it is wrong, or
// anything is missing. The port chooses the protocol, so it is not guessed.
void CompleteServer(Server& Target);

// Nothing when help was asked for, and given. Throws a CommandFailure for a command line that is wrong.
std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments);
