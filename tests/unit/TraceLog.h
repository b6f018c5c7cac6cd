#pragma once

#include "common/Trace.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

// A text file's content, as UTF-8.
inline std::string FileText(const std::filesystem::path& Path)
{
    std::ifstream File(Path);
    return {std::istreambuf_iterator<char>(File), {}};
}

// The lines of a log without time and thread: "[V]: ZDV_Open : starting ...".
inline std::vector<std::string> LogLines(const std::string& sText)
{
    std::vector<std::string> aLines;
    std::istringstream Text(sText);
    for (std::string sLine; std::getline(Text, sLine);)
        aLines.push_back(sLine.substr(sLine.find(":[") + 1));
    return aLines;
}

// What the module traces while this lives, at the levels of the mask.
class TraceLog
{
public:
    explicit TraceLog(std::uint32_t uiMask = 15) { quorvel::g_Trace.SetLevelMask(uiMask); }
    TraceLog(const TraceLog&) = delete;
    TraceLog& operator=(const TraceLog&) = delete;
    ~TraceLog() { quorvel::g_Trace.SetLevelMask(7); }

    std::string Text() const { return FileText(quorvel::g_Trace.FilePath()).substr(m_uiStart); }
    std::vector<std::string> Lines() const { return LogLines(Text()); }

private:
    const std::size_t m_uiStart = FileText(quorvel::g_Trace.FilePath()).size();
};
