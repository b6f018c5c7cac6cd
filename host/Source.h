// What a backup saves: the files and folders that the user named, with all that is in them.
#pragma once

#include "host/LocalFile.h"
#include "host/Names.h"

// A walk through the tree, depth first. A copy of it goes on from the same place.
class SourceTree
{
public:
    // Throws when something that was named is not there, or two things would have the same name on the tape.
    SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded);

    std::optional<DiskEntry> Next(); // Skipped if it cannot be saved

private:
    void AddNamed(const std::string& sPath, bool bAlone);
    void AddContent(const std::wstring& sFolder, const std::string& sPath);

    Patterns m_Excluded;
    std::vector<DiskEntry> m_Ahead; // the last one is the next
};
