// The standard streams: right on a console whatever its code page, UTF-8 when piped.
#pragma once

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
    std::size_t Width() const; // columns of the console

    // A reader that has gone away must not end a backup, so a failed write is not an error.
    void Write(std::string_view sText) const;
    void WriteLine(std::string_view sText) const;

private:
    HANDLE m_hStream;
    bool m_bConsole;
};

const TextStream& Out();
const TextStream& Err();

// Asks on the console without echo; nothing when the standard input is no console.
std::optional<std::wstring> AskPassword(std::string_view sPrompt);
