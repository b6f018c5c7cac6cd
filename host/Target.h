// The folder that a restore writes into. Nothing is written outside of it, nor through a link that lies in it.
#pragma once

#include "host/LocalFile.h"
#include "host/Names.h"

#include <span>

class TargetFolder
{
public:
    TargetFolder(const std::wstring& sFolder, bool bReplace); // created if missing

    bool CreateFolder(const Entry& What); // false if it is there already and is left as it is
    void CreateLink(const Entry& What);

    // Sets times and attributes of the innermost folder that was created, unless the next entry lies in it. False when
    // there is no such folder. Entries come in the order of a tree, so few folders wait.
    bool FinishFolder(const std::string& sNext);

    const std::wstring& Path() const { return m_sFolder; }

private:
    friend class RestoredFile;
    std::wstring PathFor(const Entry& What);              // throws if no entry of this name may be created
    bool EnsureFolder(const std::wstring& sPath);         // whether it was created
    std::wstring UnusedPath(const std::wstring& sFolder); // of a new temporary file

    std::wstring m_sFolder;
    bool m_bReplace;
    std::wstring m_sEnsured; // the folder that EnsureFolder was given last
    std::vector<Entry> m_Folders;
    std::uint64_t m_uiTemporary = 0; // the number of the last temporary file
    WrittenNames m_Written;
};

// A file or link that is being restored. It lies beside its final place under a temporary name, and is deleted with
// this object, or with the process, unless it is committed. Until then the file that it replaces is kept.
class RestoredFile
{
public:
    RestoredFile(TargetFolder& Folder, const Entry& What);

    void Write(std::span<const std::byte> Data);
    void Commit();

private:
    enum class Fate // when this object ends
    {
        Kept,
        Deleted
    };

    void Set(Fate enFate);
    void MoveAside();
    void TakePlace();
    DWORD Rename() const;

    TargetFolder& m_Folder;
    Entry m_What;
    std::wstring m_sPath;
    std::wstring m_sTemporary;
    FileHandle m_hFile;
};
