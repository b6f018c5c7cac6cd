#include "host/Target.h"

#include "host/Names.h"

namespace {

using namespace std::string_view_literals;

std::wstring FolderOf(const std::wstring& sPath)
{
    const std::size_t uiEnd = sPath.find_last_of(L'\\');
    return uiEnd == std::wstring::npos ? L"" : sPath.substr(0, uiEnd);
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

// With its parents.
void CreateMissing(const std::wstring& sFolder)
{
    if (CreateDirectoryW(sFolder.c_str(), nullptr) || FolderOf(sFolder).size() <= LR"(\\?\C:)"sv.size())
        return;
    if (GetLastError() == ERROR_PATH_NOT_FOUND)
    {
        CreateMissing(FolderOf(sFolder));
        CreateDirectoryW(sFolder.c_str(), nullptr);
    }
}

} // namespace

TargetFolder::TargetFolder(const std::wstring& sFolder, bool bReplace)
    : m_sFolder(FullPath(sFolder)), m_bReplace(bReplace)
{
    CreateMissing(m_sFolder);
    const DWORD dwAttributes = GetFileAttributesW(m_sFolder.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES || (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        throw FileError(m_sFolder, "cannot be used as a folder", GetLastError());
}

std::wstring TargetFolder::EnsureFolder(const std::wstring& sRelative)
{
    const std::wstring sPath = sRelative.empty() ? m_sFolder : PathIn(m_sFolder, sRelative);
    if (sRelative.empty() || sRelative == m_sEnsured)
        return sPath;
    EnsureFolder(FolderOf(sRelative));
    if (!CreateDirectoryW(sPath.c_str(), nullptr))
    {
        const DWORD dwError = GetLastError();
        const std::optional<DiskEntry> There = FindEntry(sPath);
        if (!There || !There->IsFolder())
            throw FileError(sPath, "cannot be created as a folder", dwError);
        if (There->IsLink())
            throw FileError(sPath, "is a link: nothing is written through it");
    }
    m_sEnsured = sRelative;
    return sPath;
}

std::wstring TargetFolder::PrepareFor(const Entry& What)
{
    const std::wstring sRelative = RelativePath(What.path);
    EnsureFolder(FolderOf(sRelative));
    const std::wstring sPath = PathIn(m_sFolder, sRelative);
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
    EnsureFolder(RelativePath(What.path));
    m_Folders.push_back(What);
}

void TargetFolder::CreateLink(const Entry& What)
{
    const std::wstring sPath = PrepareFor(What);
    DeleteFileW(sPath.c_str()); // one that may be replaced; a folder stays and is told
    ::CreateLink(sPath, What.link, What.type == "folderlink");
    m_sEnsured.clear();
}

bool TargetFolder::FinishFolder()
{
    if (m_Folders.empty())
        return false;
    const Entry What = std::move(m_Folders.back());
    m_Folders.pop_back();
    const std::wstring sPath = PathIn(m_sFolder, RelativePath(What.path));
    SetTimes(OpenFile(sPath, FILE_WRITE_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT).get(), What,
             sPath);
    SetAttributes(What, sPath);
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
