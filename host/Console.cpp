#include "host/Console.h"

#include "common/Mutex.h"
#include "host/Errors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace {

constexpr std::uint64_t REDRAW_INTERVAL_MS = 250;
constexpr std::uint64_t LINE_INTERVAL_MS = 60'000;
constexpr std::uint64_t MS_PER_SECOND = 1000;

std::atomic<bool> g_bInterrupted = false;
DWORD g_dwFoundMode = 0; // of the console's input, as the program found it; 0 if that is no console
quorvel::Mutex g_HiddenLineLock;
bool g_bHiddenLine = false; // guarded by g_HiddenLineLock

void RestoreInput()
{
    if (g_dwFoundMode != 0)
        SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), g_dwFoundMode);
}

// Presses Enter, because Ctrl+C does not end the read of a line under Wine 10 or in the console of an old SSH server.
void EndHiddenLine()
{
    const std::lock_guard Lock(g_HiddenLineLock);
    if (!g_bHiddenLine)
        return;
    INPUT_RECORD Enter{};
    Enter.EventType = KEY_EVENT;
    Enter.Event.KeyEvent.bKeyDown = TRUE;
    Enter.Event.KeyEvent.wRepeatCount = 1;
    Enter.Event.KeyEvent.wVirtualKeyCode = VK_RETURN;
    Enter.Event.KeyEvent.uChar.UnicodeChar = L'\r';
    DWORD dwWritten = 0;
    WriteConsoleInputW(GetStdHandle(STD_INPUT_HANDLE), &Enter, 1, &dwWritten);
}

// While it exists, the console does not show what is typed, and Ctrl+C ends the read of a line.
class HiddenLine
{
public:
    HiddenLine(HANDLE hInput, DWORD dwMode) : m_hInput(hInput), m_dwMode(dwMode)
    {
        SetConsoleMode(hInput,
                       (dwMode & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT);
        SetOpen(true);
    }
    HiddenLine(const HiddenLine&) = delete;
    HiddenLine& operator=(const HiddenLine&) = delete;
    ~HiddenLine()
    {
        SetOpen(false);
        if (g_bInterrupted)
            FlushConsoleInputBuffer(m_hInput); // an Enter that was not needed would go to the user's shell
        SetConsoleMode(m_hInput, m_dwMode);
    }

private:
    static void SetOpen(bool bOpen)
    {
        const std::lock_guard Lock(g_HiddenLineLock);
        g_bHiddenLine = bOpen;
    }

    HANDLE m_hInput;
    DWORD m_dwMode;
};

// Runs on a thread of its own. Stopping can take until the server answers, so this says at once that it has begun.
BOOL WINAPI OnConsoleEvent(DWORD dwEvent)
{
    const bool bFirst =
        (dwEvent == CTRL_C_EVENT || dwEvent == CTRL_BREAK_EVENT) && !g_bInterrupted.exchange(true);
    if (!bFirst)
        RestoreInput(); // the program ends here and now
    else
    {
        Write(STD_ERROR_HANDLE,
              "\nStopping, which may take a while. Ctrl+C once more ends the program at once.\n");
        EndHiddenLine();
    }
    return bFirst;
}

bool IsConsole(HANDLE hStream)
{
    DWORD dwMode = 0;
    return GetConsoleMode(hStream, &dwMode) != 0;
}

// The columns of the console less one, since a full line would make it scroll.
std::size_t RoomForStatus()
{
    constexpr SHORT DEFAULT_WIDTH = 80;
    CONSOLE_SCREEN_BUFFER_INFO Info{};
    GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &Info);
    return static_cast<std::size_t>((Info.dwSize.X > 0 ? Info.dwSize.X : DEFAULT_WIDTH) - 1);
}

// An empty text takes the line away.
void ShowStatus(std::string_view sText)
{
    constexpr wchar_t FIRST_WIDE = 0x1100; // from here on characters take two columns
    static std::size_t uiShown = 0;        // columns
    if (uiShown != 0)
        Write(STD_ERROR_HANDLE, '\r' + std::string(uiShown, ' ') + '\r');
    uiShown = sText.empty() ? 0 : RoomForStatus();
    std::wstring sLine = FromUtf8(sText);
    std::size_t uiColumns = 0;
    const auto IsBeyond = [&](wchar_t c) { return (uiColumns += c < FIRST_WIDE ? 1 : 2) > uiShown; };
    sLine.erase(std::ranges::find_if(sLine, IsBeyond), sLine.end());
    Write(STD_ERROR_HANDLE, ToUtf8(sLine));
}

} // namespace

void Write(DWORD dwStandardHandle, std::string_view sText)
{
    const HANDLE hStream = GetStdHandle(dwStandardHandle);
    DWORD dwWritten = 0;
    const std::wstring sWide = FromUtf8(sText);
    if (IsConsole(hStream))
        WriteConsoleW(hStream, sWide.data(), static_cast<DWORD>(sWide.size()), &dwWritten, nullptr);
    else
        WriteFile(hStream, sText.data(), static_cast<DWORD>(sText.size()), &dwWritten, nullptr);
}

void WriteLine(DWORD dwStandardHandle, const std::string& sText)
{
    ShowStatus(""); // all streams are one console
    Write(dwStandardHandle, sText + '\n');
}

Progress::~Progress() { ShowStatus(""); }

void Progress::Advance(std::uint64_t uiBytes)
{
    m_uiDone += uiBytes;
    const bool bConsole = IsConsole(GetStdHandle(STD_ERROR_HANDLE));
    const std::uint64_t uiNow = GetTickCount64();
    if (uiNow - m_uiShown < (bConsole ? REDRAW_INTERVAL_MS : LINE_INTERVAL_MS))
        return;
    m_uiShown = uiNow;
    if (bConsole)
        ShowStatus(Line());
    else
        Complain("{}", Line());
}

std::uint64_t Progress::Rate() const
{
    return m_uiDone * MS_PER_SECOND / std::max<std::uint64_t>(GetTickCount64() - m_uiStart, 1);
}

std::string Progress::Summary() const
{
    return fmt::format("{} in {}, {}/s", SizeText(m_uiDone),
                       DurationText((GetTickCount64() - m_uiStart) / MS_PER_SECOND), SizeText(Rate()));
}

std::string Progress::Line() const
{
    const bool bKnown = Rate() > 0 && m_uiDone <= m_uiTotal;
    return fmt::format("{}{}, {}/s{}  {}", SizeText(m_uiDone),
                       m_uiTotal == 0 ? "" : " of " + SizeText(m_uiTotal), SizeText(Rate()),
                       bKnown ? ", " + DurationText((m_uiTotal - m_uiDone) / Rate()) + " left" : "",
                       Printable(m_sFile));
}

ConsoleSetup::ConsoleSetup()
{
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    const HANDLE hInput = GetStdHandle(STD_INPUT_HANDLE);
    if (GetConsoleMode(hInput, &g_dwFoundMode))
        SetConsoleMode(hInput, (g_dwFoundMode & ~DWORD{ENABLE_QUICK_EDIT_MODE}) | ENABLE_EXTENDED_FLAGS);
}

ConsoleSetup::~ConsoleSetup() { RestoreInput(); }

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

std::optional<std::wstring> AskPassword()
{
    const HANDLE hInput = GetStdHandle(STD_INPUT_HANDLE);
    DWORD dwMode = 0;
    if (!GetConsoleMode(hInput, &dwMode))
        return std::nullopt;
    std::array<wchar_t, 512> aLine{};
    DWORD dwLength = 0;
    {
        const HiddenLine Hidden(hInput, dwMode);
        CheckInterrupt(); // not earlier: a Ctrl+C before the line is open presses no Enter
        Write(STD_ERROR_HANDLE, "Password: ");
        if (!ReadConsoleW(hInput, aLine.data(), aLine.size(), &dwLength, nullptr))
            dwLength = 0;
    }
    Complain("");
    CheckInterrupt();
    if (dwLength == 0) // Ctrl+C, before its handler has run; Enter alone gives "\r\n"
        throw Interrupted();
    const std::wstring_view sLine(aLine.data(), dwLength);
    return std::wstring(sLine.substr(0, sLine.find_first_of(L"\r\n")));
}
