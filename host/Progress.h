// One line on the console that tells how far a transfer is; nothing at all when standard error is piped.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

std::string SizeText(std::uint64_t uiBytes);       // "512 bytes", "64.0 MiB"
std::string CountText(std::uint64_t uiFiles);      // "1 file", "12 files"
std::string DurationText(std::uint64_t uiSeconds); // "3:07", "1:02:07"

class Progress
{
public:
    explicit Progress(std::uint64_t uiTotalBytes);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Hide(); }

    void Begin(std::string_view sFile) { m_sFile = sFile; }
    void Advance(std::uint64_t uiBytes);
    void Hide(); // before other text is written

    std::uint64_t Bytes() const { return m_uiDone; }

private:
    std::string Line() const;
    void Draw();

    std::string m_sFile;
    std::uint64_t m_uiTotal;
    std::uint64_t m_uiDone = 0;
    std::uint64_t m_uiStart; // milliseconds
    std::uint64_t m_uiDrawn;
    std::size_t m_uiLineWidth = 0;
};
