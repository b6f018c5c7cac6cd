// This machine's files. Paths may be longer than MAX_PATH.
#pragma once

#include "host/Entry.h"

#include <memory>
#include <optional>
#include <stdexcept>
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

// The name to open a file by, which may be longer than MAX_PATH. Only a drive's root ends in a backslash.
std::wstring FullPath(const std::wstring& sPath);

std::wstring PathIn(const std::wstring& sFolder, std::wstring_view sName);

// The same path as users write it.
std::string DisplayPath(const std::wstring& sPath);

// Folders and links too.
FileHandle OpenFile(const std::wstring& sPath, DWORD dwAccess, DWORD dwDisposition, DWORD dwFlags = 0);

// What is found in a folder or at a path.
struct DiskEntry
{
    std::wstring sFile{}; // the name to open it by
    bool bEncrypted = false;
    bool bByShortName = false; // FindEntry was given its second name, such as PROGRA~1
    Entry What{};              // its path is the bare name; where a link leads is not known yet
};

// Saved, NotHere or Noted: what attributes and reparse tag tell of an entry before it is opened.
State StateOf(DWORD dwAttributes, DWORD dwTag);

Entry FactsOf(HANDLE hFile, const std::wstring& sPath);        // of a link: those of what it leads to
std::optional<DiskEntry> FindEntry(const std::wstring& sPath); // nothing for a root, either
bool IsFolder(const std::wstring& sPath);
std::vector<DiskEntry> ListFolder(const std::wstring& sFolder); // by name

// Where a link leads, with "/". A junction comes back as a symbolic link, which leads to the same place.
std::string ReadLink(const std::wstring& sPath);
void CreateLink(const std::wstring& sPath, const std::string& sTarget, bool bFolder);

// Lets this process read and write in spite of access lists, if the user may.
void UsePrivileges();

std::int64_t ToFileTime(std::int64_t i100ns); // since 1601; 0 stays 0
