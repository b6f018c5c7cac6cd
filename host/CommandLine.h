#pragma once

#include "host/Backup.h"

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
    BackupOrder Order;
    std::vector<std::string> Patterns; // of what is wanted
    bool bWrite = false;
    std::string sFolder;
    bool bReplace = false;
    std::optional<std::time_t> tAt;
};

// Throws a CommandFailure for a command line that is wrong; nothing when help was asked for and given.
std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments);
