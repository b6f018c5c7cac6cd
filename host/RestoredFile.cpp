#include "host/RestoredFile.h"

namespace {

std::wstring Folder(const std::wstring& sPath) { return sPath.substr(0, sPath.find_last_of(L'\\')); }

// Short, so that it fits wherever the final name does.
std::wstring UnusedTemporaryName(const std::wstring& sFolder)
{
    for (unsigned uiNumber = 1;; ++uiNumber)
    {
        const std::wstring sName =
            L"zdv-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(uiNumber) + L".tmp";
        const std::wstring sPath = PathIn(sFolder, sName);
        if (GetFileAttributesW(sPath.c_str()) == INVALID_FILE_ATTRIBUTES)
            return sPath;
    }
}

} // namespace

RestoredFile::RestoredFile(const std::wstring& sPath, bool bReplace) : m_sPath(sPath), m_bReplace(bReplace)
{
    if (!bReplace && GetFileAttributesW(sPath.c_str()) != INVALID_FILE_ATTRIBUTES)
        throw FileError(sPath, "exists already");
    CreateFolder(Folder(sPath));
    m_sTemporary = UnusedTemporaryName(Folder(sPath));
    m_hFile = OpenFile(m_sTemporary, GENERIC_WRITE | DELETE, FILE_SHARE_READ, CREATE_NEW);
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

void RestoredFile::Commit(std::uint64_t uiModified)
{
    const FILETIME Modified{.dwLowDateTime = static_cast<DWORD>(uiModified),
                            .dwHighDateTime = static_cast<DWORD>(uiModified >> 32)};
    if (!FlushFileBuffers(m_hFile.get()) || !SetFileTime(m_hFile.get(), nullptr, nullptr, &Modified))
        throw FileError(m_sPath, "cannot be completed", GetLastError());
    SetVanishing(false);
    m_hFile.reset();
    if (MoveFileExW(m_sTemporary.c_str(), m_sPath.c_str(), m_bReplace ? MOVEFILE_REPLACE_EXISTING : 0))
        return;
    const DWORD dwError = GetLastError();
    DeleteFileW(m_sTemporary.c_str());
    throw FileError(m_sPath, "cannot be given its name", dwError);
}
