// What a backup saves: the files and folders that the user named, with all that is in them.
#pragma once

#include "host/LocalFile.h"
#include "host/Names.h"

// A walk through the tree, depth first. A copy of it goes on from the same place, and shares the folders' contents.
class SourceTree
{
public:
    // Throws when a path does not exist, or two would have the same name on the tape. Files that lie in a cloud are
    // NotHere unless they are to be fetched.
    SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded,
               bool bFetchCloudFiles);

    std::optional<DiskEntry> Next(); // Skipped if it cannot be saved

    // The patterns that have left out nothing so far.
    std::vector<std::string> UselessExcludes() const { return m_Excluded.Unmatched(); }

private:
    struct Folder
    {
        std::shared_ptr<const std::vector<DiskEntry>> Content;
        std::size_t uiNext = 0;
    };

    void Add(std::vector<DiskEntry> Content);
    void AddContent(const std::wstring& sFolder, const std::string& sPath);
    void Examine(DiskEntry& Found);

    Patterns m_Excluded;
    bool m_bFetchCloudFiles;
    std::vector<Folder> m_Folders; // on the way down; the last one is being read
};
