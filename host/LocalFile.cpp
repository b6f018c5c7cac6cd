#include "host/LocalFile.h"

#include "host/Console.h"
#include "host/Utf8.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <winioctl.h>

namespace {

constexpr std::int64_t EPOCH = 116444736000000000; // 1970 in a FILETIME
constexpr std::wstring_view VERBATIM = LR"(\\?\)";
constexpr std::wstring_view VERBATIM_SHARE = LR"(\\?\UNC\)";
constexpr std::wstring_view SHARE = LR"(\\)";

std::string SystemText(DWORD dwError)
{
    std::array<wchar_t, 512> aText{};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, dwError, 0,
                   aText.data(), static_cast<DWORD>(aText.size()), nullptr);
    std::string sText = ToUtf8(aText.data());
    sText.erase(sText.find_last_not_of("\r\n. ") + 1);
    return sText + (sText.empty() ? "" : " ") + "(Windows error " + std::to_string(dwError) + ")";
}

std::uint64_t Join(DWORD dwHigh, DWORD dwLow) { return std::uint64_t{dwHigh} << 32 | dwLow; }

// Times before 1970 mean nothing, and archives keep them badly.
std::int64_t Since1970(FILETIME Time)
{
    return std::max<std::int64_t>(
        static_cast<std::int64_t>(Join(Time.dwHighDateTime, Time.dwLowDateTime)) - EPOCH, 0);
}

DiskEntry ToEntry(const WIN32_FIND_DATAW& Data)
{
    const bool bReparsePoint = (Data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return {.sName = Data.cFileName,
            .dwAttributes = Data.dwFileAttributes,
            .dwReparseTag = bReparsePoint ? Data.dwReserved0 : 0,
            .uiSize = Join(Data.nFileSizeHigh, Data.nFileSizeLow),
            .iModified = Since1970(Data.ftLastWriteTime),
            .iCreated = Since1970(Data.ftCreationTime)};
}

struct CloseFind
{
    using pointer = HANDLE;
    void operator()(HANDLE hFind) const { FindClose(hFind); }
};
using FindHandle = std::unique_ptr<void, CloseFind>; // invalid is not null: FindClose refuses it

// How the data of a junction or symbolic link begins. The names follow, after the flags of a symbolic link.
struct ReparseData
{
    ULONG ulTag;
    USHORT usLength;
    USHORT usReserved;
    USHORT usNameOffset; // bytes, as the next
    USHORT usNameLength;
    USHORT usShownOffset;
    USHORT usShownLength;
};
constexpr std::wstring_view NT_PREFIX = LR"(\??\)";

} // namespace

FileError::FileError(const std::wstring& sPath, const char* pProblem, DWORD dwError)
    : std::runtime_error(Quoted(DisplayPath(sPath)) + " " + pProblem +
                         (dwError == 0 ? "" : ": " + SystemText(dwError)))
{
}

std::wstring FullPath(const std::wstring& sPath)
{
    std::wstring sFull(MAX_LONG_PATH, L'\0');
    const DWORD dwLength =
        GetFullPathNameW(sPath.c_str(), static_cast<DWORD>(sFull.size()), sFull.data(), nullptr);
    if (dwLength == 0 || dwLength >= sFull.size())
        throw FileError(sPath, "is not a path", GetLastError());
    sFull.resize(dwLength);
    if (!sFull.ends_with(LR"(:\)"))
        sFull.erase(sFull.find_last_not_of(L'\\') + 1);
    if (sFull.starts_with(VERBATIM) || sFull.starts_with(LR"(\\.\)"))
        return sFull;
    if (sFull.starts_with(SHARE))
        return std::wstring(VERBATIM_SHARE) + sFull.substr(SHARE.size());
    return std::wstring(VERBATIM) + sFull;
}

std::string DisplayPath(const std::wstring& sPath)
{
    if (sPath.starts_with(VERBATIM_SHARE))
        return ToUtf8(std::wstring(SHARE) + sPath.substr(VERBATIM_SHARE.size()));
    return ToUtf8(sPath.starts_with(VERBATIM) ? sPath.substr(VERBATIM.size()) : sPath);
}

FileHandle OpenFile(const std::wstring& sPath, DWORD dwAccess, DWORD dwDisposition, DWORD dwFlags)
{
    constexpr DWORD SHARE = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE hFile = CreateFileW(sPath.c_str(), dwAccess, dwDisposition == OPEN_EXISTING ? SHARE : 0,
                                     nullptr, dwDisposition, FILE_FLAG_BACKUP_SEMANTICS | dwFlags, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        throw FileError(sPath, dwDisposition == CREATE_NEW ? "cannot be created" : "cannot be opened",
                        GetLastError());
    return FileHandle(hFile);
}

std::wstring PathIn(const std::wstring& sFolder, std::wstring_view sName)
{
    return (sFolder.ends_with(L'\\') ? sFolder : sFolder + L'\\') + std::wstring(sName);
}

bool DiskEntry::IsLink() const
{
    constexpr DWORD NAME_SURROGATE = 0x20000000;
    // Wine tells no tag for what is a link in the host's file system.
    return (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           ((dwReparseTag & NAME_SURROGATE) != 0 || dwReparseTag == 0);
}

DiskEntry FactsOf(HANDLE hFile, const std::wstring& sPath)
{
    BY_HANDLE_FILE_INFORMATION Info{};
    if (!GetFileInformationByHandle(hFile, &Info))
        throw FileError(sPath, "cannot be examined", GetLastError());
    return {.sName = L"",
            .dwAttributes = Info.dwFileAttributes,
            .uiSize = Join(Info.nFileSizeHigh, Info.nFileSizeLow),
            .iModified = Since1970(Info.ftLastWriteTime),
            .iCreated = Since1970(Info.ftCreationTime)};
}

std::optional<DiskEntry> FindEntry(const std::wstring& sPath)
{
    WIN32_FIND_DATAW Data{};
    const FindHandle Find(FindFirstFileW(sPath.c_str(), &Data));
    return Find.get() == INVALID_HANDLE_VALUE ? std::nullopt : std::optional(ToEntry(Data));
}

std::vector<DiskEntry> ListFolder(const std::wstring& sFolder)
{
    WIN32_FIND_DATAW Data{};
    const FindHandle Find(FindFirstFileW(PathIn(sFolder, L"*").c_str(), &Data));
    if (Find.get() == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND)
        return {}; // the root of an empty drive: other folders hold at least "."
    if (Find.get() == INVALID_HANDLE_VALUE)
        throw FileError(sFolder, "cannot be listed", GetLastError());
    std::vector<DiskEntry> Found;
    do
    {
        const std::wstring_view sName = Data.cFileName;
        if (sName != L"." && sName != L"..")
            Found.push_back(ToEntry(Data));
    } while (FindNextFileW(Find.get(), &Data));
    if (GetLastError() != ERROR_NO_MORE_FILES)
        throw FileError(sFolder, "cannot be listed to its end", GetLastError());
    std::ranges::sort(Found, {}, &DiskEntry::sName);
    return Found;
}

std::string ReadLink(const std::wstring& sPath)
{
    const FileHandle hLink =
        OpenFile(sPath, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    std::array<std::byte, MAXIMUM_REPARSE_DATA_BUFFER_SIZE> Data{};
    DWORD dwSize = 0;
    if (!DeviceIoControl(hLink.get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, Data.data(), Data.size(), &dwSize,
                         nullptr))
        throw FileError(sPath, "is a link that cannot be read", GetLastError());
    ReparseData Link{};
    std::memcpy(&Link, Data.data(), sizeof(Link));
    const bool bJunction = Link.ulTag == IO_REPARSE_TAG_MOUNT_POINT;
    const std::size_t uiStart = sizeof(Link) + (bJunction ? 0 : sizeof(ULONG)) + Link.usNameOffset;
    if ((!bJunction && Link.ulTag != IO_REPARSE_TAG_SYMLINK) || uiStart + Link.usNameLength > dwSize)
        throw FileError(sPath, "is a link of a kind that cannot be saved");
    std::wstring sTarget(Link.usNameLength / sizeof(wchar_t), L'\0');
    std::memcpy(sTarget.data(), Data.data() + uiStart, sTarget.size() * sizeof(wchar_t));
    if (sTarget.starts_with(NT_PREFIX)) // as programs write it: C:\x, but \\?\Volume{...}
        sTarget.replace(0, NT_PREFIX.size(), sTarget.find(L':') == NT_PREFIX.size() + 1 ? L"" : VERBATIM);
    std::ranges::replace(sTarget, L'\\', L'/');
    return ToUtf8(sTarget);
}

void CreateLink(const std::wstring& sPath, const std::string& sTarget, bool bFolder)
{
    constexpr DWORD WITHOUT_PRIVILEGE = 2; // where the system is set up for developers
    std::wstring sName = FromUtf8(sTarget);
    std::ranges::replace(sName, L'/', L'\\');
    if (!CreateSymbolicLinkW(sPath.c_str(), sName.c_str(),
                             WITHOUT_PRIVILEGE | (bFolder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0)))
        throw FileError(sPath, "cannot be created as a link", GetLastError());
    if (!FindEntry(sPath)) // Wine says that it has done it
        throw FileError(sPath, "cannot be created as a link: this system has none");
}

void UsePrivileges()
{
    HANDLE hToken = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &hToken))
        return;
    const FileHandle Token(hToken);
    for (const wchar_t* pName : {L"SeBackupPrivilege", L"SeRestorePrivilege"})
    {
        TOKEN_PRIVILEGES Wanted{.PrivilegeCount = 1,
                                .Privileges = {{.Luid = {}, .Attributes = SE_PRIVILEGE_ENABLED}}};
        if (LookupPrivilegeValueW(nullptr, pName, &Wanted.Privileges[0].Luid))
            AdjustTokenPrivileges(hToken, FALSE, &Wanted, 0, nullptr, nullptr);
    }
}

FILETIME ToFileTime(std::int64_t i100ns)
{
    const auto uiTime = static_cast<std::uint64_t>(i100ns + EPOCH);
    return {.dwLowDateTime = static_cast<DWORD>(uiTime), .dwHighDateTime = static_cast<DWORD>(uiTime >> 32)};
}
