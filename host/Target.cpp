#include "host/Target.h"

#include "host/Console.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t ROOT_LENGTH = 7; // \\?\C:\ and \\?\UNC cannot be created

std::wstring FolderOf(const std::wstring& sPath)
{
    return sPath.substr(0, std::max(sPath.find_last_of(L'\\'), ROOT_LENGTH));
}

// Calls the action with the path of each folder on the way, the last one included.
template <typename Action> void OnTheWay(const std::wstring& sPath, std::size_t uiFrom, Action action)
{
    for (std::size_t uiEnd = uiFrom; uiEnd < sPath.size();)
    {
        uiEnd = std::min(sPath.find(L'\\', uiEnd + 1), sPath.size());
        action(sPath.substr(0, uiEnd));
    }
}

// Times and attributes of a file, folder or link. If the file system refuses them (FAT32 knows no time before 1980),
// the file is kept all the same. A member that is 0 is left as it is.
void SetFacts(HANDLE hFile, const Entry& What, const std::wstring& sPath)
{
    FILE_BASIC_INFO Times{};
    Times.CreationTime.QuadPart = ToFileTime(What.created);
    Times.LastWriteTime.QuadPart = ToFileTime(What.mtime);
    FILE_BASIC_INFO Attributes{};
    Attributes.FileAttributes = What.attributes & SAVED_ATTRIBUTES;
    for (auto& [Info, pProblem] : {std::pair(Times, "cannot be given its times"),
                                   std::pair(Attributes, "cannot be given its attributes")})
        if (FILE_BASIC_INFO Given = Info;
            !SetFileInformationByHandle(hFile, FileBasicInfo, &Given, sizeof(Given)))
            Complain("Note: {}", FileError(sPath, pProblem, GetLastError()).what());
}

// Whether another program, such as a virus scanner, has the file open. Windows does not replace such a file even if
// the other program allows its deletion, so this asks for the file without sharing it.
bool IsHeld(const std::wstring& sPath)
{
    const HANDLE hFile = CreateFileW(sPath.c_str(), DELETE, 0, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(hFile);
    return false;
}

// By its short name, an entry that has another name would be replaced, or a folder be written into.
void RefuseShortName(const std::wstring& sPath, const std::optional<DiskEntry>& There)
{
    if (There && There->bByShortName)
        throw FileError(sPath, fmt::format("is the short name of {} here: that one is kept, and this one is "
                                           "left out. Restore it into another folder",
                                           Quoted(There->What.path))
                                   .c_str());
}

// A link that was created and cannot be opened would be left over.
FileHandle OpenNewLink(const std::wstring& sPath, const Entry& What)
{
    const bool bFolder = What.type == Kind::FolderLink;
    CreateLink(sPath, What.link, bFolder);
    try
    {
        return OpenFile(sPath, FILE_WRITE_ATTRIBUTES | DELETE, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    }
    catch (...)
    {
        bFolder ? RemoveDirectoryW(sPath.c_str()) : DeleteFileW(sPath.c_str());
        throw;
    }
}

} // namespace

TargetFolder::TargetFolder(const std::wstring& sFolder, bool bReplace)
    : m_sFolder(FullPath(sFolder)), m_bReplace(bReplace)
{
    if (IsFolder(m_sFolder))
        return;
    DWORD dwError = ERROR_PATH_NOT_FOUND;
    OnTheWay(m_sFolder, ROOT_LENGTH, [&](const std::wstring& sPath) { // most of them exist
        dwError = CreateDirectoryW(sPath.c_str(), nullptr) ? ERROR_SUCCESS : GetLastError();
    });
    if (!IsFolder(m_sFolder))
        throw FileError(m_sFolder, "is no folder, and cannot be created as one", dwError);
}

// From the top down: nothing beyond a link is even looked at, since that may be another machine.
bool TargetFolder::EnsureFolder(const std::wstring& sPath)
{
    bool bCreated = false;
    if (sPath == m_sEnsured)
        return bCreated;
    OnTheWay(sPath, m_sFolder.size(), [&](const std::wstring& sPart) {
        const std::optional<DiskEntry> There = FindEntry(sPart);
        bCreated = !There;
        RefuseShortName(sPart, There);
        if (There && There->What.IsLink())
            throw FileError(sPart, "is a link: nothing is written through it");
        if (There && There->What.type != Kind::Folder)
            throw FileError(sPart, "is a file, and a folder is needed in its place");
        if (!There && !CreateDirectoryW(sPart.c_str(), nullptr))
            throw FileError(sPart, "cannot be created as a folder", GetLastError());
    });
    m_sEnsured = sPath;
    return bCreated;
}

std::wstring TargetFolder::PathFor(const Entry& What)
{
    const std::wstring sPath = PathIn(m_sFolder, RelativePath(What.path));
    EnsureFolder(FolderOf(sPath));
    if (GetFileAttributesW(sPath.c_str()) == INVALID_FILE_ATTRIBUTES)
        return sPath;
    RefuseShortName(sPath, FindEntry(sPath));
    if (!m_bReplace)
        throw FileError(sPath, "exists already: --overwrite would replace it");
    if (m_Written.Meet(What.path))
        throw FileError(
            sPath, "was restored just now, under this name or one that differs in case or Unicode form only: "
                   "that file is kept, and this one is left out");
    return sPath;
}

// A deleted file keeps its name while a virus scanner has it open, and a power failure leaves a temporary file.
std::wstring TargetFolder::UnusedPath(const std::wstring& sFolder)
{
    std::wstring sPath;
    do
        sPath = PathIn(sFolder, L"zdv-" + std::to_wstring(GetCurrentProcessId()) + L'-' +
                                    std::to_wstring(++m_uiTemporary) + L".tmp");
    while (GetFileAttributesW(sPath.c_str()) != INVALID_FILE_ATTRIBUTES);
    return sPath;
}

bool TargetFolder::CreateFolder(const Entry& What)
{
    const bool bRestored = EnsureFolder(PathIn(m_sFolder, RelativePath(What.path))) || m_bReplace;
    if (bRestored)
        m_Folders.push_back(What);
    return bRestored;
}

void TargetFolder::CreateLink(const Entry& What)
{
    RestoredFile(*this, What).Commit();
    m_sEnsured.clear();
}

bool TargetFolder::FinishFolder(const std::string& sNext)
{
    if (m_Folders.empty() || sNext.starts_with(m_Folders.back().path + '/'))
        return false;
    const Entry What = std::move(m_Folders.back());
    m_Folders.pop_back();
    const std::wstring sPath = PathIn(m_sFolder, RelativePath(What.path));
    m_sEnsured.clear();
    EnsureFolder(sPath); // which throws where a link has taken its place or its parent's
    SetFacts(OpenFile(sPath, FILE_WRITE_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT).get(), What,
             sPath);
    return true;
}

RestoredFile::RestoredFile(TargetFolder& Folder, const Entry& What)
    : m_Folder(Folder), m_What(What), m_sPath(Folder.PathFor(What)),
      m_sTemporary(Folder.UnusedPath(FolderOf(m_sPath)))
{
    m_hFile = What.IsLink() ? OpenNewLink(m_sTemporary, What)
                            : OpenFile(m_sTemporary, GENERIC_WRITE | DELETE, CREATE_NEW);
    Set(Fate::Deleted);
}

void RestoredFile::Set(Fate enFate)
{
    FILE_DISPOSITION_INFO Info{};
    Info.DeleteFile = enFate == Fate::Deleted;
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

// The times are set last, because Windows gives a file the time of creation of the one that it replaces.
void RestoredFile::Commit()
{
    Set(Fate::Kept);
    try
    {
        const DWORD dwThere = GetFileAttributesW(m_sPath.c_str());
        dwThere != INVALID_FILE_ATTRIBUTES && (dwThere & FILE_ATTRIBUTE_DIRECTORY) != 0 ? MoveAside()
                                                                                        : TakePlace();
    }
    catch (...)
    {
        Set(Fate::Deleted);
        throw;
    }
    m_Folder.m_Written.Add(m_What.path);
    SetFacts(m_hFile.get(), m_What, m_sPath);
}

// An empty folder or a link to a folder cannot be replaced in one step.
void RestoredFile::MoveAside()
{
    const std::wstring sAside = m_sTemporary + L".old";
    const std::optional<DiskEntry> There = FindEntry(m_sPath);
    if (There && !There->What.IsLink() && !ListFolder(m_sPath).empty())
        throw FileError(m_sPath, "is a folder that holds something, and is kept");
    if (!MoveFileExW(m_sPath.c_str(), sAside.c_str(), 0))
        throw FileError(m_sPath, "cannot be replaced", GetLastError());
    try
    {
        TakePlace();
    }
    catch (...)
    {
        MoveFileExW(sAside.c_str(), m_sPath.c_str(), 0);
        throw;
    }
    SetFileAttributesW(sAside.c_str(), FILE_ATTRIBUTE_NORMAL); // one that is read-only cannot be deleted
    if (!RemoveDirectoryW(sAside.c_str()))
        Complain("Note: {}", FileError(sAside, "was replaced and cannot be deleted", GetLastError()).what());
}

// A file that is read-only cannot be replaced.
void RestoredFile::TakePlace()
{
    constexpr int TRIES = 30;
    constexpr DWORD PAUSE_MS = 100;
    const DWORD dwThere = GetFileAttributesW(m_sPath.c_str());
    const bool bReadOnly = dwThere != INVALID_FILE_ATTRIBUTES && (dwThere & FILE_ATTRIBUTE_READONLY) != 0;
    if (bReadOnly)
        SetFileAttributesW(m_sPath.c_str(), dwThere & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    try
    {
        DWORD dwError = Rename();
        for (int iTry = 1; dwError != ERROR_SUCCESS && iTry < TRIES && IsHeld(m_sPath); ++iTry)
        {
            CheckInterrupt();
            Sleep(PAUSE_MS);
            dwError = Rename();
        }
        if (dwError != ERROR_SUCCESS)
            throw FileError(m_sPath, "cannot be given its name", dwError);
    }
    catch (...)
    {
        if (bReadOnly)
            SetFileAttributesW(m_sPath.c_str(), dwThere);
        throw;
    }
}

// Renames through the open handle: if it were closed first, another program could open the file in between.
DWORD RestoredFile::Rename() const
{
    const std::size_t uiName = m_sPath.size() * sizeof(wchar_t);
    std::vector<std::uint64_t> Buffer((sizeof(FILE_RENAME_INFO) + uiName) / sizeof(std::uint64_t) + 1);
    auto* const pInfo = reinterpret_cast<FILE_RENAME_INFO*>(Buffer.data());
    pInfo->ReplaceIfExists = m_Folder.m_bReplace;
    pInfo->FileNameLength = static_cast<DWORD>(uiName);
    std::memcpy(pInfo->FileName, m_sPath.data(), uiName);
    const auto dwSize = static_cast<DWORD>(Buffer.size() * sizeof(std::uint64_t));
    return SetFileInformationByHandle(m_hFile.get(), FileRenameInfo, pInfo, dwSize) ? ERROR_SUCCESS
                                                                                    : GetLastError();
}
