#include "host/Target.h"

#include "host/Names.h"

namespace {

constexpr std::size_t ROOT_LENGTH = 7; // \\?\C:\ and \\?\UNC are nobody's to create

std::wstring FolderOf(const std::wstring& sPath)
{
    return sPath.substr(0, std::max(sPath.find_last_of(L'\\'), ROOT_LENGTH));
}

void SetTimes(HANDLE hFile, const Entry& What, const std::wstring& sPath)
{
    const FILETIME Created = ToFileTime(What.created);
    const FILETIME Modified = ToFileTime(What.mtime);
    if (!SetFileTime(hFile, &Created, nullptr, &Modified))
        throw FileError(sPath, "cannot be given its times", GetLastError());
}

void SetAttributes(const Entry& What, const std::wstring& sPath)
{
    if (What.attributes != 0 && !SetFileAttributesW(sPath.c_str(), What.attributes))
        throw FileError(sPath, "cannot be given its attributes", GetLastError());
}

// Of a folder or a link, not of what that leads to.
void SetFacts(const Entry& What, const std::wstring& sPath)
{
    SetTimes(OpenFile(sPath, FILE_WRITE_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT).get(), What,
             sPath);
    SetAttributes(What, sPath);
}

} // namespace

TargetFolder::TargetFolder(const std::wstring& sFolder, bool bReplace)
    : m_sFolder(FullPath(sFolder)), m_bReplace(bReplace)
{
    EnsureFolder(m_sFolder);
}

// With its parents. Those outside of the target are looked at only when the folder is missing.
void TargetFolder::EnsureFolder(const std::wstring& sPath)
{
    if (sPath == m_sEnsured)
        return;
    const bool bInside = sPath.size() > m_sFolder.size();
    const bool bMissing = GetFileAttributesW(sPath.c_str()) == INVALID_FILE_ATTRIBUTES;
    if ((bInside || bMissing) && FolderOf(sPath).size() > ROOT_LENGTH)
        EnsureFolder(FolderOf(sPath));
    if (bMissing && !CreateDirectoryW(sPath.c_str(), nullptr))
        throw FileError(sPath, "cannot be created as a folder", GetLastError());
    if (!IsFolder(sPath))
        throw FileError(sPath, "is no folder");
    if (const std::optional<DiskEntry> There = FindEntry(sPath); bInside && There && There->What.IsLink())
        throw FileError(sPath, "is a link: nothing is written through it");
    m_sEnsured = sPath;
}

std::wstring TargetFolder::PrepareFor(const Entry& What)
{
    const std::wstring sPath = PathIn(m_sFolder, RelativePath(What.path));
    EnsureFolder(FolderOf(sPath));
    const DWORD dwAttributes = GetFileAttributesW(sPath.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES)
        return sPath;
    if (!m_bReplace)
        throw FileError(sPath, "exists already");
    if ((dwAttributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(sPath.c_str(), FILE_ATTRIBUTE_NORMAL); // else it could not be replaced
    return sPath;
}

void TargetFolder::CreateFolder(const Entry& What)
{
    EnsureFolder(PathIn(m_sFolder, RelativePath(What.path)));
    m_Folders.push_back(What);
}

void TargetFolder::CreateLink(const Entry& What)
{
    const std::wstring sPath = PrepareFor(What);
    if (!DeleteFileW(
            sPath.c_str())) // one that may be replaced; a folder that holds something stays and is told
        RemoveDirectoryW(sPath.c_str());
    ::CreateLink(sPath, What.link, What.type == Kind::FolderLink);
    SetFacts(What, sPath);
    m_sEnsured.clear();
}

bool TargetFolder::FinishFolder()
{
    if (m_Folders.empty())
        return false;
    const Entry What = std::move(m_Folders.back());
    m_Folders.pop_back();
    SetFacts(What, PathIn(m_sFolder, RelativePath(What.path)));
    return true;
}

RestoredFile::RestoredFile(TargetFolder& Folder, const Entry& What)
    : m_What(What), m_bReplace(Folder.m_bReplace), m_sPath(Folder.PrepareFor(What)),
      m_sTemporary(PathIn(FolderOf(m_sPath), L"zdv-" + std::to_wstring(GetCurrentProcessId()) + L".tmp")),
      m_hFile(OpenFile(m_sTemporary, GENERIC_WRITE | DELETE, CREATE_NEW))
{
    SetVanishing(true);
}

void RestoredFile::SetVanishing(bool bVanishing)
{
    FILE_DISPOSITION_INFO Info{};
    Info.DeleteFile = bVanishing;
    if (!SetFileInformationByHandle(m_hFile.get(), FileDispositionInfo, &Info, sizeof(Info)))
        throw FileError(m_sTemporary, "cannot be marked for deletion", GetLastError());
}

void RestoredFile::Write(std::span<const std::byte> Data)
{
    DWORD dwWritten = 0;
    if (!WriteFile(m_hFile.get(), Data.data(), static_cast<DWORD>(Data.size()), &dwWritten, nullptr) ||
        dwWritten != Data.size())
        throw FileError(m_sPath, "cannot be written", GetLastError());
}

void RestoredFile::Commit()
{
    SetTimes(m_hFile.get(), m_What, m_sPath);
    SetVanishing(false);
    m_hFile.reset();
    if (!MoveFileExW(m_sTemporary.c_str(), m_sPath.c_str(), m_bReplace ? MOVEFILE_REPLACE_EXISTING : 0))
    {
        const DWORD dwError = GetLastError();
        DeleteFileW(m_sTemporary.c_str());
        throw FileError(m_sPath, "cannot be given its name", dwError);
    }
    SetAttributes(m_What, m_sPath);
}
