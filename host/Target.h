// The folder that a restore writes into. Nothing is written outside of it, nor through a link that lies in it.
#pragma once

#include "host/LocalFile.h"

#include <span>

class TargetFolder
{
public:
    TargetFolder(const std::wstring& sFolder, bool bReplace); // created if missing

    void CreateFolder(const Entry& What);
    void CreateLink(const Entry& What);
    bool FinishFolder(); // times and attributes of the next one, when nothing more is written; false: no more

    const std::wstring& Path() const { return m_sFolder; }

private:
    friend class RestoredFile;
    std::wstring PrepareFor(const Entry& What); // the full path, when an entry of this name may be created
    void EnsureFolder(const std::wstring& sPath);

    std::wstring m_sFolder;
    bool m_bReplace;
    std::wstring m_sEnsured; // the folder that was looked at last
    std::vector<Entry> m_Folders;
};

// A file that is being restored. It lies beside its final place under a temporary name, which vanishes with
// this object, or with the process, unless the file is committed.
class RestoredFile
{
public:
    RestoredFile(TargetFolder& Folder, const Entry& What);

    void Write(std::span<const std::byte> Data);
    void Commit();

private:
    void SetVanishing(bool bVanishing);

    Entry m_What;
    bool m_bReplace;
    std::wstring m_sPath;
    std::wstring m_sTemporary;
    FileHandle m_hFile;
};
