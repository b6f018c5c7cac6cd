#include "host/Source.h"

#include "host/Text.h"

#include <algorithm>
#include <array>

namespace {

bool IsRoot(const std::wstring& sFile) { return sFile.ends_with(L'\\'); }

// Windows makes these in each root and locks them, but in a shadow copy they could be read: gigabytes of no use.
bool BelongsToWindows(const DiskEntry& Found)
{
    static constexpr std::array NAMES{"SYSTEM VOLUME INFORMATION", "PAGEFILE.SYS", "SWAPFILE.SYS",
                                      "HIBERFIL.SYS", "DUMPSTACK.LOG.TMP"};
    return std::ranges::find(NAMES, ToUtf8(CaseFolded(Found.What.path))) != NAMES.end();
}

// The root of a drive, a share or a shadow copy is no entry of any folder. If it is named alone, its content is saved
// without a folder around it. Beside other paths it becomes a folder with the drive's letter or its last name.
DiskEntry Named(const std::string& sPath)
{
    const std::wstring sFile = FullPath(FromUtf8(sPath));
    std::optional<DiskEntry> Found = FindEntry(sFile);
    if (!Found && IsFolder(PathIn(sFile, L"")))
        Found = {.sFile = PathIn(sFile, L""), .What = {.type = Kind::Folder}};
    if (!Found || sFile.find_first_of(L"*?", sFile.find_last_of(L'\\')) != sFile.npos)
        throw FileError(sFile, "cannot be found");
    if (Found->What.type == Kind::FolderLink && (sPath.ends_with('\\') || sPath.ends_with('/')))
        Found->What.type = Kind::Folder; // what it leads to is meant
    const std::wstring sName = sFile.substr(0, sFile.find_last_not_of(LR"(:\)") + 1);
    Found->What.path = ToUtf8(sName.substr(sName.find_last_of(L'\\') + 1));
    return *Found;
}

} // namespace

SourceTree::SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded,
                       bool bFetchCloudFiles)
    : m_Excluded(Excluded), m_bFetchCloudFiles(bFetchCloudFiles)
{
    std::vector<DiskEntry> All;
    std::ranges::transform(Paths, std::back_inserter(All), Named);
    std::vector<std::wstring> Names;
    for (const DiskEntry& Found : All)
        Names.push_back(CaseFolded(Found.What.path));
    std::ranges::sort(Names);
    if (const auto Twice = std::ranges::adjacent_find(Names); Twice != Names.end())
        throw std::runtime_error("Two of the paths would have the same name in the backup: " +
                                 Quoted(ToUtf8(*Twice)) + ". Back them up one after the other.");
    if (All.size() == 1 && IsRoot(All.front().sFile))
        AddContent(All.front().sFile, "");
    else
        Add(std::move(All));
}

void SourceTree::Add(std::vector<DiskEntry> Content)
{
    m_Folders.push_back({std::make_shared<const std::vector<DiskEntry>>(std::move(Content))});
}

void SourceTree::AddContent(const std::wstring& sFolder, const std::string& sPath)
{
    std::vector<DiskEntry> Content = ListFolder(sFolder);
    if (IsRoot(sFolder))
        std::erase_if(Content, BelongsToWindows);
    for (DiskEntry& Found : Content)
        Found.What.path.insert(0, sPath.empty() ? "" : sPath + '/');
    Add(std::move(Content));
}

std::optional<DiskEntry> SourceTree::Next()
{
    std::optional<DiskEntry> Found;
    do
    {
        while (!m_Folders.empty() && m_Folders.back().uiNext == m_Folders.back().Content->size())
            m_Folders.pop_back();
        if (m_Folders.empty())
            return std::nullopt;
        Found = (*m_Folders.back().Content)[m_Folders.back().uiNext++];
    } while (m_Excluded.Match(Found->What.path));
    try
    {
        Examine(*Found);
    }
    catch (const std::exception& Error)
    {
        Found->What.state = State::Skipped;
        Found->What.problem = Error.what();
    }
    return Found;
}

void SourceTree::Examine(DiskEntry& Found)
{
    Entry& What = Found.What;
    const std::wstring sPath = RelativePath(What.path); // throws for a name that no restore could give back
    if (!IsRoot(Found.sFile) && !Found.sFile.ends_with(sPath.substr(sPath.find_last_of(L'\\') + 1)))
        throw FileError(Found.sFile, "has a name that is not Unicode");
    if (What.state == State::NotHere && m_bFetchCloudFiles)
        What.state = State::Saved;
    if (What.state == State::NotHere)
        What.problem = "it lies in a cloud";
    else if (What.state == State::Noted)
        What.problem = "it is a link to an app, or a socket";
    else if (What.IsLink())
        What.link = ReadLink(Found.sFile);
    else if (What.type == Kind::Folder)
        AddContent(Found.sFile, What.path);
}
