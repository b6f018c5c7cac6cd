// A file that is being restored. It lies beside its final place under a temporary name, which vanishes with
// this object, or with the process, unless the file is committed.
#pragma once

#include "host/LocalFile.h"

class RestoredFile
{
public:
    // Creates the folders that the path needs. An existing file is refused unless it may be replaced.
    RestoredFile(const std::wstring& sPath, bool bReplace);

    void Write(std::span<const std::byte> Data);
    void Commit(std::uint64_t uiModified);

private:
    void SetVanishing(bool bVanishing);

    std::wstring m_sPath;
    bool m_bReplace;
    std::wstring m_sTemporary;
    FileHandle m_hFile;
};
