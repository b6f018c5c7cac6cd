// The files of this machine that a backup saves.
#pragma once

#include "host/LocalFile.h"

#include <string>
#include <vector>

class SourceFile
{
public:
    SourceFile(const std::wstring& sPath, std::string sTapeName);

    const std::string& TapeName() const { return m_sTapeName; }
    std::uint64_t Size() const { return m_Facts.uiSize; }
    std::uint64_t Modified() const { return m_Facts.uiModified; }

    void ReadNext(std::span<std::byte> Data); // fills it all
    void CheckUnchanged() const;              // the file is still what was announced

private:
    std::wstring m_sPath;
    std::string m_sTapeName;
    FileHandle m_hFile;
    FileFacts m_Facts;
};

// Opens the files and, with all that is in them, the folders that the user named. A folder's files are called
// by their paths from the folder's parent. Refuses, before anything is written: what cannot be opened, names
// that could not be restored, two files of one name, more files than a backup holds.
std::vector<SourceFile> OpenSourceFiles(const std::vector<std::wstring>& Arguments);
