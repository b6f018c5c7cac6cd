#include "host/Source.h"

#include "host/Text.h"

#include <algorithm>

SourceTree::SourceTree(const std::vector<std::string>& Paths, const std::vector<std::string>& Excluded)
    : m_Excluded(Excluded)
{
    for (const std::string& sPath : Paths)
        AddNamed(sPath, Paths.size() == 1);
    std::vector<std::wstring> Names;
    for (const DiskEntry& Named : m_Ahead)
        Names.push_back(CaseFolded(Named.What.path));
    std::ranges::sort(Names);
    if (const auto Twice = std::ranges::adjacent_find(Names); Twice != Names.end())
        throw std::runtime_error("two of these would have the same name in the backup: " +
                                 Quoted(ToUtf8(*Twice)));
    if (Paths.size() > 1)
        std::ranges::reverse(m_Ahead);
}

// The root of a drive, a share or a shadow copy is no entry of any folder: alone its content is saved without a folder
// around it, beside others it becomes a folder of the drive's letter or of its last name.
void SourceTree::AddNamed(const std::string& sPath, bool bAlone)
{
    const std::wstring sFile = FullPath(FromUtf8(sPath));
    std::optional<DiskEntry> Found = FindEntry(sFile);
    if (!Found && IsFolder(PathIn(sFile, L"")))
    {
        if (bAlone)
            return AddContent(sFile, "");
        Found = {.sFile = sFile, .What = {.type = Kind::Folder}};
    }
    if (!Found || sFile.find_first_of(L"*?", sFile.find_last_of(L'\\')) != sFile.npos)
        throw FileError(sFile, "cannot be found");
    if (Found->What.type == Kind::FolderLink && (sPath.ends_with('\\') || sPath.ends_with('/')))
        Found->What.type = Kind::Folder; // what it leads to is meant
    const std::wstring sName = sFile.substr(0, sFile.find_last_not_of(LR"(:\)") + 1);
    Found->What.path = ToUtf8(sName.substr(sName.find_last_of(L'\\') + 1));
    m_Ahead.push_back(*std::move(Found));
}

void SourceTree::AddContent(const std::wstring& sFolder, const std::string& sPath)
{
    std::vector<DiskEntry> Content = ListFolder(sFolder);
    for (DiskEntry& Found : Content)
        Found.What.path.insert(0, sPath.empty() ? "" : sPath + '/');
    m_Ahead.insert(m_Ahead.end(), std::move_iterator(Content.rbegin()), std::move_iterator(Content.rend()));
}

std::optional<DiskEntry> SourceTree::Next()
{
    const auto IsExcluded = [&] { return m_Excluded.Match(m_Ahead.back().What.path); };
    while (!m_Ahead.empty() && IsExcluded())
        m_Ahead.pop_back();
    if (m_Ahead.empty())
        return std::nullopt;
    DiskEntry Found = std::move(m_Ahead.back());
    m_Ahead.pop_back();
    Entry& What = Found.What;
    try
    {
        const std::wstring sPath =
            RelativePath(What.path); // throws for a name that no restore could give back
        if (!Found.sFile.ends_with(L'\\') &&
            !Found.sFile.ends_with(sPath.substr(sPath.find_last_of(L'\\') + 1)))
            throw FileError(Found.sFile, "has a name that is not Unicode");
        if (What.IsLink())
            What.link = ReadLink(Found.sFile);
        else if (What.type == Kind::Folder)
            AddContent(Found.sFile, What.path);
    }
    catch (const std::exception& Error)
    {
        What.state = State::Skipped;
        What.problem = Error.what();
    }
    return Found;
}
