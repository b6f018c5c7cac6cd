#include "host/Console.h"

#include "host/Utf8.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace {

constexpr std::size_t DEFAULT_WIDTH = 80;
constexpr wchar_t FIRST_WIDE = 0x1100;

std::atomic<bool> g_bInterrupted = false;

BOOL WINAPI OnConsoleEvent(DWORD dwEvent)
{
    return (dwEvent == CTRL_C_EVENT || dwEvent == CTRL_BREAK_EVENT) && !g_bInterrupted.exchange(true);
}

bool IsUnprintable(wchar_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

TextStream::TextStream(DWORD dwStandardHandle) : m_hStream(GetStdHandle(dwStandardHandle))
{
    DWORD dwMode = 0;
    m_bConsole = GetConsoleMode(m_hStream, &dwMode) != 0;
}

std::size_t TextStream::Width() const
{
    CONSOLE_SCREEN_BUFFER_INFO Info{};
    if (!GetConsoleScreenBufferInfo(m_hStream, &Info) || Info.dwSize.X <= 0)
        return DEFAULT_WIDTH;
    return static_cast<std::size_t>(Info.dwSize.X);
}

void TextStream::Write(std::string_view sText) const
{
    DWORD dwWritten = 0;
    if (!m_bConsole)
    {
        WriteFile(m_hStream, sText.data(), static_cast<DWORD>(sText.size()), &dwWritten, nullptr);
        return;
    }
    const std::wstring sWide = FromUtf8(sText);
    WriteConsoleW(m_hStream, sWide.data(), static_cast<DWORD>(sWide.size()), &dwWritten, nullptr);
}

void TextStream::WriteLine(std::string_view sText) const
{
    Err().ShowStatus("");
    Write(std::string(sText) + "\n");
}

void TextStream::ShowStatus(std::string_view sText) const
{
    static std::size_t uiShown = 0; // columns; all streams are one console
    if (!m_bConsole)
        return;
    if (uiShown != 0)
        Write("\r" + std::string(uiShown, ' ') + "\r");
    uiShown = sText.empty() ? 0 : Width() - 1; // a full line would make the console scroll
    std::wstring sLine = FromUtf8(sText);
    std::size_t uiColumns = 0; // East Asian characters take two
    const auto IsBeyond = [&](wchar_t c) { return (uiColumns += c < FIRST_WIDE ? 1 : 2) > uiShown; };
    sLine.erase(std::ranges::find_if(sLine, IsBeyond), sLine.end());
    Write(ToUtf8(sLine));
}

const TextStream& Out()
{
    static const TextStream Stream(STD_OUTPUT_HANDLE);
    return Stream;
}

const TextStream& Err()
{
    static const TextStream Stream(STD_ERROR_HANDLE);
    return Stream;
}

std::string Printable(std::string_view sText)
{
    std::wstring sWide = FromUtf8(sText);
    std::ranges::replace_if(sWide, IsUnprintable, L'?');
    return ToUtf8(sWide);
}

std::string Quoted(std::string_view sName) { return "\"" + Printable(sName) + "\""; }

void CatchInterrupts() { SetConsoleCtrlHandler(OnConsoleEvent, TRUE); }

void CheckInterrupt()
{
    if (g_bInterrupted)
        throw Interrupted();
}

void Pause(int iSeconds)
{
    constexpr int STEPS_PER_SECOND = 10;
    for (int iStep = 0; iStep < iSeconds * STEPS_PER_SECOND; ++iStep)
    {
        CheckInterrupt();
        Sleep(1000 / STEPS_PER_SECOND);
    }
}

std::optional<std::wstring> AskPassword(std::string_view sPrompt)
{
    const HANDLE hInput = GetStdHandle(STD_INPUT_HANDLE);
    DWORD dwMode = 0;
    if (!GetConsoleMode(hInput, &dwMode))
        return std::nullopt;
    Err().Write(sPrompt);
    std::array<wchar_t, 512> aLine{};
    DWORD dwLength = 0;
    SetConsoleMode(hInput, dwMode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    const bool bRead = ReadConsoleW(hInput, aLine.data(), aLine.size(), &dwLength, nullptr) != 0;
    SetConsoleMode(hInput, dwMode);
    Err().WriteLine("");
    CheckInterrupt();
    std::wstring sLine(aLine.data(), dwLength);
    sLine.erase(sLine.find_last_not_of(L"\r\n") + 1);
    return bRead ? std::optional(sLine) : std::nullopt;
}
