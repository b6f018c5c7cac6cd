// The standard streams: right on a console whatever its code page, UTF-8 when piped.
#pragma once

#include "host/ExitCode.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <windows.h>

class TextStream
{
public:
    explicit TextStream(DWORD dwStandardHandle);

    bool IsConsole() const { return m_bConsole; }

    // A reader that has gone away must not end a backup, so a failed write is not an error.
    void Write(std::string_view sText) const;
    void WriteLine(std::string_view sText) const;

    // A line that stands below all others until the next one, on a console. An empty one takes it away.
    void ShowStatus(std::string_view sText) const;

private:
    std::size_t Width() const; // columns of the console

    HANDLE m_hStream;
    bool m_bConsole;
};

const TextStream& Out();
const TextStream& Err();

// Control characters, and those that turn the direction of writing, become "?": names may come from anywhere.
std::string Printable(std::string_view sText);
std::string Quoted(std::string_view sName); // printable, in quotation marks

// Ctrl+C ends what is under way in good order, a second one the program at once.
void CatchInterrupts();
void CheckInterrupt(); // throws Interrupted
void Pause(int iSeconds);

// Asks on the console without echo; nothing when the standard input is no console.
std::optional<std::wstring> AskPassword(std::string_view sPrompt);
