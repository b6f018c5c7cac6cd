// What a backup saves: the files and folders that the user named, with all that is in them.
#pragma once

#include "host/LocalFile.h"
#include "host/Tape.h"

struct SourceEntry
{
    std::wstring sFile{}; // the name to open it by
    DiskEntry OnDisk{};
    Entry What{}; // "skipped" if it cannot be saved
};

// A walk through the tree, depth first. A copy of it goes on from the same place.
class SourceTree
{
public:
    // Throws when something that was named is not there, or two things would have the same name on the tape.
    SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded);

    std::optional<SourceEntry> Next();

private:
    struct Found
    {
        std::wstring sFile;
        std::string sPath; // on the tape
        DiskEntry OnDisk;
    };
    struct Level
    {
        std::shared_ptr<const std::vector<Found>> Entries; // of one folder
        std::size_t uiNext = 0;
    };

    static std::vector<Found> ContentOf(const std::wstring& sFolder, const std::string& sPath);
    void AddNamed(const std::string& sPath, bool bAlone, std::vector<Found>& Entries) const;
    SourceEntry Examine(const Found& Place);

    std::vector<std::string> m_Excluded;
    std::vector<Level> m_Levels;
};
