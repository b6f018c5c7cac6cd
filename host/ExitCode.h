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

// Runs one phase of a command; whatever goes wrong in it ends the command with this code. pFailure says what
// failed, with its own blank at the end.
template <typename Action> auto Phase(ExitCode enCode, const char* pFailure, Action action)
{
    try
    {
        return action();
    }
    catch (const std::exception& Error)
    {
        throw CommandFailure(enCode, std::string(pFailure) + Error.what());
    }
}
