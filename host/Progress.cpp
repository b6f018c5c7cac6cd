#include "host/Progress.h"

#include "host/Console.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <windows.h>

namespace {

constexpr std::uint64_t REDRAW_INTERVAL_MS = 250;
constexpr std::uint64_t LINE_INTERVAL_MS = 60'000;
constexpr std::uint64_t MS_PER_SECOND = 1000;

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

Progress::Progress() : m_uiStart(GetTickCount64()), m_uiShown(m_uiStart) {}

Progress::~Progress() { Err().ShowStatus(""); }

void Progress::Advance(std::uint64_t uiBytes)
{
    m_uiDone += uiBytes;
    const std::uint64_t uiNow = GetTickCount64();
    if (uiNow - m_uiShown < (Err().IsConsole() ? REDRAW_INTERVAL_MS : LINE_INTERVAL_MS))
        return;
    m_uiShown = uiNow;
    if (Err().IsConsole())
        Err().ShowStatus(Line());
    else
        Err().WriteLine(Line());
}

std::uint64_t Progress::Rate() const
{
    return m_uiDone * MS_PER_SECOND / std::max<std::uint64_t>(GetTickCount64() - m_uiStart, 1);
}

std::string Progress::Summary() const
{
    return SizeText(m_uiDone) + " in " + DurationText((GetTickCount64() - m_uiStart) / MS_PER_SECOND) + ", " +
           SizeText(Rate()) + "/s";
}

std::string Progress::Line() const
{
    std::string sLine = SizeText(m_uiDone) + " of " + SizeText(m_uiTotal) + ", " + SizeText(Rate()) + "/s";
    if (Rate() > 0 && m_uiDone <= m_uiTotal)
        sLine += ", " + DurationText((m_uiTotal - m_uiDone) / Rate()) + " left";
    return sLine + "  " + Printable(m_sFile);
}
