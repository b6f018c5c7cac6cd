// The standard streams: Unicode on a console, UTF-8 in a file or pipe. A failed write is not an error, since a reader
// that has gone away must not end a backup.
#pragma once

#include "host/Text.h"

#include <windows.h>

void Write(DWORD dwStandardHandle, std::string_view sText);
void WriteLine(DWORD dwStandardHandle, const std::string& sText);

// A line of results, and one of what went wrong.
template <typename... Values> void Say(fmt::format_string<Values...> sFormat, Values&&... values)
{
    WriteLine(STD_OUTPUT_HANDLE, fmt::format(sFormat, std::forward<Values>(values)...));
}

template <typename... Values> void Complain(fmt::format_string<Values...> sFormat, Values&&... values)
{
    WriteLine(STD_ERROR_HANDLE, fmt::format(sFormat, std::forward<Values>(values)...));
}

// How far a transfer is. On a console this is a line below all others that is drawn again and again; in a file a line
// is added now and then.
class Progress
{
public:
    Progress() : m_uiStart(GetTickCount64()), m_uiShown(m_uiStart) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void SetTotal(std::uint64_t uiBytes) { m_uiTotal = uiBytes; } // 0, the default: not known
    void Begin(std::string_view sFile) { m_sFile = sFile; }
    void Advance(std::uint64_t uiBytes);
    void GoBack(std::uint64_t uiBytes) { m_uiDone = uiBytes; } // what follows is transferred again

    std::uint64_t Bytes() const { return m_uiDone; }
    std::string Summary() const; // "64.0 MiB in 0:07, 9.1 MiB/s"

private:
    std::uint64_t Rate() const; // bytes per second
    std::string Line() const;

    std::string m_sFile;
    std::uint64_t m_uiTotal = 0;
    std::uint64_t m_uiDone = 0;
    std::uint64_t m_uiStart; // milliseconds
    std::uint64_t m_uiShown;
};

// While it exists, Ctrl+C ends what is under way in good order, and a second one ends the program at once. A click into
// the window selects no text, which would stop the program at its next line of output.
class ConsoleSetup
{
public:
    ConsoleSetup();
    ConsoleSetup(const ConsoleSetup&) = delete;
    ConsoleSetup& operator=(const ConsoleSetup&) = delete;
    ~ConsoleSetup();
};

void CheckInterrupt(); // throws Interrupted
void Pause(int iSeconds);

// Asks on the console without echo; nothing when the standard input is no console. Throws Interrupted.
std::optional<std::wstring> AskPassword();
