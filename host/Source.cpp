#include "host/Source.h"

#include "host/Names.h"
#include "host/Utf8.h"

#include <algorithm>

SourceTree::SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded)
    : m_Excluded(Excluded)
{
    std::vector<Found> Entries;
    for (const std::string& sPath : Paths)
        AddNamed(sPath, Paths.size() == 1, Entries);
    std::vector<std::wstring> Names;
    for (const Found& Named : Entries)
        Names.push_back(CaseFolded(Named.sPath));
    std::ranges::sort(Names);
    if (const auto Twice = std::ranges::adjacent_find(Names); Twice != Names.end())
        throw std::runtime_error("two of these would have the same name in the backup: " +
                                 Quoted(ToUtf8(*Twice)));
    m_Levels.push_back({std::make_shared<const std::vector<Found>>(std::move(Entries))});
}

// A drive's root has no name: alone its content is saved without a folder around it, beside others it becomes a
// folder of the drive's letter.
void SourceTree::AddNamed(const std::string& sPath, bool bAlone, std::vector<Found>& Entries) const
{
    const std::wstring sFile = FullPath(FromUtf8(sPath));
    const std::wstring sName = sFile.substr(sFile.find_last_of(L'\\') + 1);
    if (sName.empty() && bAlone)
    {
        Entries = ContentOf(sFile, "");
        return;
    }
    if (sName.empty())
    {
        const std::string sLetter = ToUtf8(sFile.substr(sFile.size() - 3, 1));
        Entries.push_back({sFile, sLetter, {.dwAttributes = FILE_ATTRIBUTE_DIRECTORY}});
        return;
    }
    const std::optional<DiskEntry> OnDisk = FindEntry(sFile);
    if (!OnDisk || sName.find_first_of(L"*?") != sName.npos)
        throw FileError(sFile, "cannot be found");
    Entries.push_back({sFile, ToUtf8(sName), *OnDisk});
}

std::vector<SourceTree::Found> SourceTree::ContentOf(const std::wstring& sFolder, const std::string& sPath)
{
    std::vector<Found> Entries;
    for (DiskEntry& OnDisk : ListFolder(sFolder))
    {
        const std::string sName = ToUtf8(OnDisk.sName);
        Entries.push_back(
            {PathIn(sFolder, OnDisk.sName), sPath.empty() ? sName : sPath + "/" + sName, std::move(OnDisk)});
    }
    return Entries;
}

std::optional<SourceEntry> SourceTree::Next()
{
    while (!m_Levels.empty())
    {
        Level& Top = m_Levels.back();
        if (Top.uiNext == Top.Entries->size())
            m_Levels.pop_back();
        else if (const auto Entries = Top.Entries; !MatchesAny(m_Excluded, (*Entries)[Top.uiNext++].sPath))
            return Examine((*Entries)[m_Levels.back().uiNext - 1]);
    }
    return std::nullopt;
}

SourceEntry SourceTree::Examine(const Found& Place)
{
    const DiskEntry& OnDisk = Place.OnDisk;
    SourceEntry Examined{.sFile = Place.sFile,
                         .OnDisk = OnDisk,
                         .What = {.path = Place.sPath,
                                  .type = OnDisk.IsFolder() ? "folder" : "file",
                                  .size = OnDisk.IsFolder() ? 0 : OnDisk.uiSize,
                                  .mtime = OnDisk.iModified,
                                  .created = OnDisk.iCreated,
                                  .attributes = OnDisk.dwAttributes & SAVED_ATTRIBUTES}};
    try
    {
        if (!Place.sFile.ends_with(RelativePath(Place.sPath)) && !OnDisk.sName.empty())
            throw FileError(Place.sFile, "has a name that is not Unicode");
        if (OnDisk.IsLink())
        {
            Examined.What.type = OnDisk.IsFolder() ? "folderlink" : "link";
            Examined.What.size = 0;
            Examined.What.link = ReadLink(Place.sFile);
        }
        else if (OnDisk.IsFolder())
            m_Levels.push_back(
                {std::make_shared<const std::vector<Found>>(ContentOf(Place.sFile, Place.sPath))});
    }
    catch (const std::exception& Error)
    {
        Examined.What.state = "skipped";
        Examined.What.problem = Error.what();
    }
    return Examined;
}
