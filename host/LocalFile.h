// This machine's files. Paths may be longer than MAX_PATH.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <windows.h>

inline constexpr std::size_t MAX_LONG_PATH = 32768; // characters, with the terminating zero

class FileError : public std::runtime_error
{
public:
    FileError(const std::wstring& sPath, const char* pProblem);
    FileError(const std::wstring& sPath, const char* pProblem, DWORD dwError);
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

FileHandle OpenFile(const std::wstring& sPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition);

// With all its parents; one that exists is fine.
void CreateFolder(const std::wstring& sPath);

struct FileFacts
{
    std::uint64_t uiSize;
    std::uint64_t uiModified; // 100 ns units since 1601, UTC

    bool operator==(const FileFacts&) const = default;
};
FileFacts FactsOf(HANDLE hFile, const std::wstring& sPath);
