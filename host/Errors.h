// How a command can end, and what ends it.
#pragma once

#include <stdexcept>
#include <string>

// What scripts see. The command line's help lists them.
enum class ExitCode
{
    Done = 0,
    CommandLine = 1,
    NotReady = 2,
    BackupFailed = 3,
    DataDiffers = 4,
    LocalFile = 5,
    NoModule = 6,
    Other = 7,
    DoneWithProblems = 8,
    Stopped = 9,
};

// What is on the tape is not what it should be.
struct TapeError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// The server lists an object and is there, but does not let it be read.
struct UnreadableObject : TapeError
{
    using TapeError::TapeError;
};

// Ctrl+C was pressed. Neither this nor CommandFailure is a std::exception, so handlers of failures let them pass.
struct Interrupted
{
};

// Ends a command.
struct CommandFailure
{
    ExitCode enCode;
    std::string sText;
};

// Runs one phase of a command; what goes wrong in it ends the command with this code. pFailure says what failed,
// with its own blank at the end.
template <typename Action> auto Phase(ExitCode enCode, const char* pFailure, Action action)
{
    try
    {
        return action();
    }
    catch (const std::exception& Error)
    {
        throw CommandFailure{enCode, std::string(pFailure) + Error.what()};
    }
}
