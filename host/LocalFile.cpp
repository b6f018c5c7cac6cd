#include "host/LocalFile.h"

#include "host/Utf8.h"

#include <array>

namespace {

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
    return sText + " (Windows error " + std::to_string(dwError) + ")";
}

std::uint64_t Join(DWORD dwHigh, DWORD dwLow) { return std::uint64_t{dwHigh} << 32 | dwLow; }

} // namespace

FileError::FileError(const std::wstring& sPath, const char* pProblem)
    : std::runtime_error("\"" + DisplayPath(sPath) + "\" " + pProblem)
{
}

FileError::FileError(const std::wstring& sPath, const char* pProblem, DWORD dwError)
    : std::runtime_error("\"" + DisplayPath(sPath) + "\" " + pProblem + ": " + SystemText(dwError))
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

FileHandle OpenFile(const std::wstring& sPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition)
{
    const HANDLE hFile = CreateFileW(sPath.c_str(), dwAccess, dwShare, nullptr, dwDisposition,
                                     FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        throw FileError(sPath, dwDisposition == CREATE_NEW ? "cannot be created" : "cannot be opened",
                        GetLastError());
    return FileHandle(hFile);
}

std::wstring PathIn(const std::wstring& sFolder, std::wstring_view sName)
{
    return (sFolder.ends_with(L'\\') ? sFolder : sFolder + L'\\') + std::wstring(sName);
}

void CreateFolder(const std::wstring& sPath)
{
    if (CreateDirectoryW(sPath.c_str(), nullptr))
        return;
    DWORD dwError = GetLastError();
    const std::size_t uiParent = sPath.find_last_of(L'\\');
    if (dwError == ERROR_PATH_NOT_FOUND && uiParent != std::wstring::npos && sPath[uiParent - 1] != L':')
    {
        CreateFolder(sPath.substr(0, uiParent));
        if (CreateDirectoryW(sPath.c_str(), nullptr))
            return;
        dwError = GetLastError();
    }
    const DWORD dwAttributes = GetFileAttributesW(sPath.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES || !(dwAttributes & FILE_ATTRIBUTE_DIRECTORY))
        throw FileError(sPath, "cannot be created as a folder", dwError);
}

FileFacts FactsOf(HANDLE hFile, const std::wstring& sPath)
{
    BY_HANDLE_FILE_INFORMATION Info{};
    if (!GetFileInformationByHandle(hFile, &Info))
        throw FileError(sPath, "cannot be examined", GetLastError());
    return {.uiSize = Join(Info.nFileSizeHigh, Info.nFileSizeLow),
            .uiModified = Join(Info.ftLastWriteTime.dwHighDateTime, Info.ftLastWriteTime.dwLowDateTime)};
}
