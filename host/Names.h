// Names on the tape: UTF-8, with "/" between folders.
#pragma once

#include <string>
#include <vector>

// The path below a folder that a name means on Windows. Refuses every name that could lead out of it, or to a
// device or a stream.
std::wstring RelativePath(const std::string& sTapeName);

std::wstring CaseFolded(const std::string& sText);

// What a user typed: "*" and "?" in any case, "/" or "\" between folders. A pattern with several parts is that of a
// whole name, and its "*" and "?" mean any character, "/" too; one without is that of a last part: "*.tmp",
// "Documents/Letters", "C/Users/*/AppData".
class Patterns
{
public:
    explicit Patterns(const std::vector<std::string>& Given);

    bool Empty() const { return m_All.empty(); }
    bool Match(const std::string& sTapeName);   // the name, or a folder that it lies in
    std::vector<std::string> Unmatched() const; // those that no name has matched so far

private:
    struct Pattern
    {
        std::string sGiven;
        std::wstring sFolded;
        bool bWhole;
        bool bMatched;
    };
    std::vector<Pattern> m_All;
};
