// How far a transfer is: a line that is drawn again and again on a console, one now and then when the output
// goes to a file.
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
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void SetTotal(std::uint64_t uiBytes) { m_uiTotal = uiBytes; }
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
