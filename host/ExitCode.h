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

// What lies on the tape is not what it should be.
class TapeError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// The server lists an object and is there, but does not let it be read.
class UnreadableObject : public TapeError
{
    using TapeError::TapeError;
};

// Ctrl+C was pressed.
class Interrupted : public std::runtime_error
{
public:
    Interrupted() : std::runtime_error("Stopped by Ctrl+C; what was begun is not complete.") {}
};

// Ends a command: the text for the user and the code for scripts.
class CommandFailure : public std::runtime_error
{
public:
    CommandFailure(ExitCode enCode, const std::string& sText) : std::runtime_error(sText), m_enCode(enCode) {}

    ExitCode Code() const { return m_enCode; }

private:
    ExitCode m_enCode;
};

// Runs one phase of a command; what goes wrong in it ends the command with this code. pFailure says what failed,
// with its own blank at the end. Ctrl+C has its own end.
template <typename Action> auto Phase(ExitCode enCode, const char* pFailure, Action action)
{
    try
    {
        return action();
    }
    catch (const Interrupted&)
    {
        throw;
    }
    catch (const CommandFailure&)
    {
        throw;
    }
    catch (const std::exception& Error)
    {
        throw CommandFailure(enCode, std::string(pFailure) + Error.what());
    }
}
