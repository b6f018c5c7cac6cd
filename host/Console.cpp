#include "host/Console.h"

#include "host/Utf8.h"

#include <array>

namespace {

constexpr std::size_t DEFAULT_WIDTH = 80;

class EchoOff
{
public:
    explicit EchoOff(HANDLE hInput, DWORD dwMode) : m_hInput(hInput), m_dwMode(dwMode)
    {
        SetConsoleMode(m_hInput, m_dwMode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;
    ~EchoOff() { SetConsoleMode(m_hInput, m_dwMode); }

private:
    HANDLE m_hInput;
    DWORD m_dwMode;
};

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

void TextStream::WriteLine(std::string_view sText) const { Write(std::string(sText) + "\n"); }

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

std::optional<std::wstring> AskPassword(std::string_view sPrompt)
{
    const HANDLE hInput = GetStdHandle(STD_INPUT_HANDLE);
    DWORD dwMode = 0;
    if (!GetConsoleMode(hInput, &dwMode))
        return std::nullopt;
    Err().Write(sPrompt);
    std::array<wchar_t, 512> aLine{};
    DWORD dwLength = 0;
    {
        const EchoOff Quiet(hInput, dwMode);
        if (!ReadConsoleW(hInput, aLine.data(), static_cast<DWORD>(aLine.size()), &dwLength, nullptr))
            return std::nullopt;
    }
    Err().WriteLine("");
    std::wstring sLine(aLine.data(), dwLength);
    sLine.erase(sLine.find_last_not_of(L"\r\n") + 1);
    return sLine;
}
