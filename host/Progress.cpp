#include "host/Progress.h"

#include "host/Console.h"
#include "host/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <windows.h>

namespace {

constexpr std::uint64_t REDRAW_INTERVAL_MS = 250;
constexpr std::uint64_t MS_PER_SECOND = 1000;

// The part of the text that fits into so many columns; East Asian characters take two.
std::wstring Fitting(const std::wstring& sText, std::size_t uiColumns)
{
    constexpr wchar_t FIRST_WIDE = 0x1100;
    std::size_t uiUsed = 0;
    const auto Last = std::find_if(sText.begin(), sText.end(), [&](wchar_t c) {
        uiUsed += c >= FIRST_WIDE ? 2 : 1;
        return uiUsed > uiColumns;
    });
    return {sText.begin(), Last};
}

std::string TwoDigits(std::uint64_t uiNumber)
{
    return (uiNumber < 10 ? "0" : "") + std::to_string(uiNumber);
}

} // namespace

std::string SizeText(std::uint64_t uiBytes)
{
    constexpr std::array UNITS{"KiB", "MiB", "GiB", "TiB"};
    constexpr double STEP = 1024;
    if (uiBytes < 1024)
        return std::to_string(uiBytes) + (uiBytes == 1 ? " byte" : " bytes");
    double dAmount = static_cast<double>(uiBytes) / STEP;
    std::size_t uiUnit = 0;
    for (; dAmount >= STEP && uiUnit + 1 < UNITS.size(); ++uiUnit)
        dAmount /= STEP;
    std::array<char, 32> aText{};
    std::snprintf(aText.data(), aText.size(), "%.1f %s", dAmount, UNITS[uiUnit]);
    return aText.data();
}

std::string CountText(std::uint64_t uiFiles)
{
    return std::to_string(uiFiles) + (uiFiles == 1 ? " file" : " files");
}

std::string DurationText(std::uint64_t uiSeconds)
{
    const std::uint64_t uiMinutes = uiSeconds / 60;
    const std::string sSeconds = ":" + TwoDigits(uiSeconds % 60);
    if (uiMinutes < 60)
        return std::to_string(uiMinutes) + sSeconds;
    return std::to_string(uiMinutes / 60) + ":" + TwoDigits(uiMinutes % 60) + sSeconds;
}

Progress::Progress(std::uint64_t uiTotalBytes)
    : m_uiTotal(uiTotalBytes), m_uiStart(GetTickCount64()), m_uiDrawn(m_uiStart)
{
}

void Progress::Advance(std::uint64_t uiBytes)
{
    m_uiDone += uiBytes;
    const std::uint64_t uiNow = GetTickCount64();
    if (!Err().IsConsole() || uiNow - m_uiDrawn < REDRAW_INTERVAL_MS)
        return;
    m_uiDrawn = uiNow;
    Draw();
}

std::string Progress::Line() const
{
    const std::uint64_t uiElapsed = std::max<std::uint64_t>(GetTickCount64() - m_uiStart, 1);
    const double dRate = static_cast<double>(m_uiDone) * MS_PER_SECOND / static_cast<double>(uiElapsed);
    std::string sLine = SizeText(m_uiDone) + " of " + SizeText(m_uiTotal) + ", " +
                        SizeText(static_cast<std::uint64_t>(dRate)) + "/s";
    if (dRate > 0 && m_uiDone <= m_uiTotal)
        sLine += ", " +
                 DurationText(static_cast<std::uint64_t>(static_cast<double>(m_uiTotal - m_uiDone) / dRate)) +
                 " left";
    return sLine + "  " + m_sFile;
}

void Progress::Draw()
{
    const std::size_t uiWidth = Err().Width() - 1; // a full line would make the console scroll
    const std::string sLine = ToUtf8(Fitting(FromUtf8(Line()), uiWidth));
    Hide();
    Err().Write(sLine);
    m_uiLineWidth = uiWidth;
}

void Progress::Hide()
{
    if (m_uiLineWidth != 0)
        Err().Write("\r" + std::string(m_uiLineWidth, ' ') + "\r");
    m_uiLineWidth = 0;
}
