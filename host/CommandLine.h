#pragma once

#include "host/ExitCode.h"
#include "host/Server.h"

#include <optional>

enum class Command
{
    Info,
    Check,
    Versions,
    Backup,
    Restore
};

struct CommandLine
{
    Command enCommand = Command::Info;
    std::string sModule; // empty: the one beside this program
    Server Target;
    std::vector<std::string> Files;
    bool bVerify = false;
    std::string sFolder = ".";
    bool bReplace = false;
    std::optional<std::time_t> tAt; // the newest version not later than this
};

// Throws a CommandFailure for a command line that is wrong; nothing when help was asked for and given.
std::optional<CommandLine> ParseCommandLine(int iCount, wchar_t** pArguments);
