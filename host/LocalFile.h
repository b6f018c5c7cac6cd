// This machine's files. Paths may be longer than MAX_PATH.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>
#include <windows.h>

inline constexpr std::size_t MAX_LONG_PATH = 32768; // characters, with the terminating zero

class FileError : public std::runtime_error
{
public:
    FileError(const std::wstring& sPath, const char* pProblem, DWORD dwError = 0);
};

struct CloseFile
{
    void operator()(HANDLE hFile) const { CloseHandle(hFile); }
};
using FileHandle = std::unique_ptr<void, CloseFile>;

// The name to open a file by: it lifts the limit of MAX_PATH. Only a drive's root ends in a backslash.
std::wstring FullPath(const std::wstring& sPath);

std::wstring PathIn(const std::wstring& sFolder, std::wstring_view sName);

// The same path as users write it.
std::string DisplayPath(const std::wstring& sPath);

// Folders and links too.
FileHandle OpenFile(const std::wstring& sPath, DWORD dwAccess, DWORD dwDisposition, DWORD dwFlags = 0);

// A file's or folder's entry in its folder.
struct DiskEntry
{
    std::wstring sName{};
    DWORD dwAttributes = 0;
    DWORD dwReparseTag = 0;
    std::uint64_t uiSize = 0;
    std::int64_t iModified = 0; // 100 ns since 1970, as the next
    std::int64_t iCreated = 0;

    bool IsFolder() const { return (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

    // A link or junction may lead anywhere; other reparse points, such as files that lie in a cloud, are read
    // and written as if they were none.
    bool IsLink() const;
};

DiskEntry FactsOf(HANDLE hFile, const std::wstring& sPath); // without name and tag
std::optional<DiskEntry> FindEntry(const std::wstring& sPath);
std::vector<DiskEntry> ListFolder(const std::wstring& sFolder); // by name

// Where a link leads, with "/". A junction comes back as a symbolic link, which leads to the same place.
std::string ReadLink(const std::wstring& sPath);
void CreateLink(const std::wstring& sPath, const std::string& sTarget, bool bFolder);

// Reading and writing in spite of access lists, as far as the user may.
void UsePrivileges();

FILETIME ToFileTime(std::int64_t i100ns);
