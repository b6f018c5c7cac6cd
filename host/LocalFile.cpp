#include "host/LocalFile.h"

#include "host/Console.h"

#include <algorithm>
#include <array>
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
    return fmt::format("{}{}(Windows error {})", sText, sText.empty() ? "" : " ", dwError);
}

std::uint64_t Join(DWORD dwHigh, DWORD dwLow) { return std::uint64_t{dwHigh} << 32 | dwLow; }

// Times before 1970 mean nothing, and archives keep them badly.
std::int64_t Since1970(FILETIME Time)
{
    const auto iTime = static_cast<std::int64_t>(Join(Time.dwHighDateTime, Time.dwLowDateTime));
    return std::max<std::int64_t>(iTime - EPOCH, 0);
}

template <typename Info> Entry FactsFrom(const Info& Data)
{
    const bool bFolder = (Data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {.type = bFolder ? Kind::Folder : Kind::File,
            .size = bFolder ? 0 : Join(Data.nFileSizeHigh, Data.nFileSizeLow),
            .mtime = Since1970(Data.ftLastWriteTime),
            .created = Since1970(Data.ftCreationTime),
            .attributes = Data.dwFileAttributes & SAVED_ATTRIBUTES};
}

// A link or junction may lead anywhere. Other reparse points, such as files that lie in a cloud, are read as if they
// were ordinary files.
bool IsLink(const WIN32_FIND_DATAW& Data)
{
    constexpr DWORD NAME_SURROGATE = 0x20000000;
    const DWORD dwTag = Data.dwReserved0; // 0 under Wine for a link of the host's file system
    return (Data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (dwTag == 0 || (dwTag & NAME_SURROGATE) != 0);
}

DiskEntry ToEntry(const std::wstring& sFile, const WIN32_FIND_DATAW& Data)
{
    DiskEntry Found{.sFile = sFile,
                    .bEncrypted = (Data.dwFileAttributes & FILE_ATTRIBUTE_ENCRYPTED) != 0,
                    .What = FactsFrom(Data)};
    Found.What.path = ToUtf8(Data.cFileName);
    if (IsLink(Data))
        Found.What.type = Found.What.type == Kind::Folder ? Kind::FolderLink : Kind::FileLink;
    if (Found.What.IsLink())
        Found.What.size = 0;
    Found.What.state = StateOf(Data.dwFileAttributes, Data.dwReserved0);
    return Found;
}

bool EqualNames(const wchar_t* pOne, const wchar_t* pOther)
{
    return CompareStringOrdinal(pOne, -1, pOther, -1, TRUE) == CSTR_EQUAL;
}

using FindHandle = std::unique_ptr<void, decltype(&FindClose)>; // invalid is not null: FindClose refuses it

constexpr std::wstring_view NT_PREFIX = LR"(\??\)";

} // namespace

FileError::FileError(const std::wstring& sPath, const char* pProblem, DWORD dwError)
    : std::runtime_error(fmt::format("{} {}{}", Quoted(DisplayPath(sPath)), pProblem,
                                     dwError == 0 ? "" : ": " + SystemText(dwError)))
{
}

std::wstring FullPath(const std::wstring& sPath)
{
    if (sPath.find(L'"') != sPath.npos) // of "C:\My files\" the system makes C:\My files"
        throw FileError(sPath, "holds a quotation mark: leave out the backslash before it");
    const bool bDrive = sPath.size() == 2 && sPath.back() == L':'; // else the current folder there
    const std::wstring sGiven = bDrive ? sPath + L'\\' : sPath;
    std::wstring sFull(MAX_LONG_PATH, L'\0');
    const DWORD dwLength =
        GetFullPathNameW(sGiven.c_str(), static_cast<DWORD>(sFull.size()), sFull.data(), nullptr);
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
    if (hFile == INVALID_HANDLE_VALUE && dwDisposition == CREATE_NEW &&
        GetLastError() == ERROR_FILE_NOT_FOUND)
        throw FileError(sPath, "cannot be created (does Windows' controlled folder access allow zdv.exe?)",
                        ERROR_FILE_NOT_FOUND);
    if (hFile == INVALID_HANDLE_VALUE)
        throw FileError(sPath, dwDisposition == CREATE_NEW ? "cannot be created" : "cannot be opened",
                        GetLastError());
    return FileHandle(hFile);
}

std::wstring PathIn(const std::wstring& sFolder, std::wstring_view sName)
{
    return (sFolder.ends_with(L'\\') ? sFolder : sFolder + L'\\') + std::wstring(sName);
}

State StateOf(DWORD dwAttributes, DWORD dwTag)
{
    constexpr DWORD RECALL_ON_OPEN = 0x40000;         // nothing of the file or folder is here
    constexpr DWORD RECALL_ON_DATA_ACCESS = 0x400000; // ignored on a folder: it may hold files that are here
    constexpr DWORD NOTED[] = {0x8000001B, // a store app's execution alias, which no program can open
                               0x80000023, // a socket; the next three are a pipe and devices of Linux
                               0x80000024, 0x80000025, 0x80000026};
    const bool bFolder = (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const DWORD dwAbsent = RECALL_ON_OPEN | (bFolder ? 0 : RECALL_ON_DATA_ACCESS | FILE_ATTRIBUTE_OFFLINE);
    if ((dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
        std::ranges::find(NOTED, dwTag) != std::end(NOTED))
        return State::Noted;
    return (dwAttributes & dwAbsent) != 0 ? State::NotHere : State::Saved;
}

Entry FactsOf(HANDLE hFile, const std::wstring& sPath)
{
    BY_HANDLE_FILE_INFORMATION Info{};
    if (!GetFileInformationByHandle(hFile, &Info))
        throw FileError(sPath, "cannot be examined", GetLastError());
    return FactsFrom(Info);
}

std::optional<DiskEntry> FindEntry(const std::wstring& sPath)
{
    WIN32_FIND_DATAW Data{};
    const FindHandle Find(FindFirstFileW(sPath.c_str(), &Data), FindClose);
    if (Find.get() == INVALID_HANDLE_VALUE)
        return {};
    DiskEntry Found = ToEntry(sPath, Data);
    const wchar_t* const pName = sPath.c_str() + sPath.find_last_of(L'\\') + 1;
    Found.bByShortName = EqualNames(pName, Data.cAlternateFileName) && !EqualNames(pName, Data.cFileName);
    return Found;
}

bool IsFolder(const std::wstring& sPath)
{
    const DWORD dwAttributes = GetFileAttributesW(sPath.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::vector<DiskEntry> ListFolder(const std::wstring& sFolder)
{
    WIN32_FIND_DATAW Data{};
    const FindHandle Find(FindFirstFileW(PathIn(sFolder, L"*").c_str(), &Data), FindClose);
    if (Find.get() == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND)
        return {}; // the root of an empty drive: other folders hold at least "."
    if (Find.get() == INVALID_HANDLE_VALUE)
        throw FileError(sFolder, "cannot be listed", GetLastError());
    std::vector<DiskEntry> Found;
    do
    {
        CheckInterrupt();
        const std::wstring_view sName = Data.cFileName;
        if (sName != L"." && sName != L"..")
            Found.push_back(ToEntry(PathIn(sFolder, sName), Data));
    } while (FindNextFileW(Find.get(), &Data));
    if (GetLastError() != ERROR_NO_MORE_FILES)
        throw FileError(sFolder, "cannot be listed to its end", GetLastError());
    std::ranges::sort(Found, {}, &DiskEntry::sFile);
    return Found;
}

std::string ReadLink(const std::wstring& sPath)
{
    const FileHandle hLink =
        OpenFile(sPath, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    // In words of 16 bits: the tag (2), other facts (2), offset and length of the name, offset and length of the name
    // that is shown, flags (2, of a symbolic link only), the names. Offsets and lengths are in bytes.
    std::array<wchar_t, MAXIMUM_REPARSE_DATA_BUFFER_SIZE / sizeof(wchar_t)> Data{};
    DWORD dwSize = 0;
    if (!DeviceIoControl(hLink.get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, Data.data(),
                         MAXIMUM_REPARSE_DATA_BUFFER_SIZE, &dwSize, nullptr))
        throw FileError(sPath, "is a link that cannot be read", GetLastError());
    const DWORD dwTag = DWORD{Data[1]} << 16 | Data[0];
    const std::size_t uiStart = (dwTag == IO_REPARSE_TAG_SYMLINK ? 10 : 8) + Data[4] / sizeof(wchar_t);
    const std::size_t uiLength = Data[5] / sizeof(wchar_t);
    if ((dwTag != IO_REPARSE_TAG_SYMLINK && dwTag != IO_REPARSE_TAG_MOUNT_POINT) ||
        uiStart + uiLength > Data.size())
        throw FileError(sPath, "is a link of a kind that cannot be saved");
    std::wstring sTarget(Data.data() + uiStart, uiLength);
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
    const DWORD dwFlags = bFolder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    if (!CreateSymbolicLinkW(sPath.c_str(), sName.c_str(), dwFlags | WITHOUT_PRIVILEGE) &&
        (GetLastError() != ERROR_INVALID_PARAMETER || // so answer systems older than that flag
         !CreateSymbolicLinkW(sPath.c_str(), sName.c_str(), dwFlags)))
        throw FileError(sPath, "cannot be created as a link", GetLastError());
    if (!FindEntry(sPath)) // Wine says that it has done it
        throw FileError(sPath, "cannot be created as a link: this system knows no links");
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

std::int64_t ToFileTime(std::int64_t i100ns) { return i100ns == 0 ? 0 : i100ns + EPOCH; }
