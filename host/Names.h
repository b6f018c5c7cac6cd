// Names on the tape: UTF-8, with "/" between folders.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

// The path below a folder that a name means on Windows. Refuses every name that could lead out of it, or to a
// device or a stream.
std::wstring RelativePath(const std::string& sTapeName);

std::wstring CaseFolded(const std::string& sText);

// What a user typed, with "*" and "?", and "/" or "\" between folders. Upper and lower case are the same. A pattern with
// several parts ("Documents/Letters", "C/Users/*/AppData") matches a whole name, and its "*" and "?" match "/", too. One
// of a single part ("*.tmp") matches a name in any folder.
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
        bool bWhole;           // it matches whole paths
        bool bMatched = false; // anything so far
    };
    std::vector<Pattern> m_All;
};

// Names that were written, in the order of a tree. So that millions need little memory, hashes are kept, and only of
// the names in the folders that the last name lies in.
class WrittenNames
{
public:
    void Add(const std::string& sTapeName);

    // Whether a name may be one of them. So it is
    //   - if it, or a folder that it lies in, differs from one of them in case or in Unicode's normal form only
    //   - if it lies in a folder that was left before, which a tree never comes back to
    bool Meet(const std::string& sTapeName) const;

private:
    static std::size_t Folded(std::wstring_view sPart);

    struct Folder
    {
        std::unordered_set<std::size_t> Names{}; // as Folded() has them
        std::wstring sLast{};
    };
    std::vector<Folder> m_Folders{}; // from the top down to where the last name lies
};
