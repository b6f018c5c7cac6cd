#include "host/SourceFiles.h"

#include "host/Console.h"
#include "host/TapeFormat.h"
#include "host/TapeName.h"

#include <algorithm>
#include <set>

namespace {

struct FoundFile
{
    std::wstring sPath;
    std::wstring sRelative;
};

struct IgnoringCase
{
    bool operator()(const std::wstring& sLeft, const std::wstring& sRight) const
    {
        return CompareStringOrdinal(sLeft.c_str(), -1, sRight.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

struct CloseFind
{
    void operator()(HANDLE hFind) const { FindClose(hFind); }
};

bool IsFolder(DWORD dwAttributes) { return (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

// A junction or a linked folder may lead anywhere, also back into the folder it lies in.
bool IsLinkedFolder(DWORD dwAttributes)
{
    return IsFolder(dwAttributes) && (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

std::vector<WIN32_FIND_DATAW> Entries(const std::wstring& sFolder)
{
    WIN32_FIND_DATAW Entry{};
    const HANDLE hFind = FindFirstFileW(PathIn(sFolder, L"*").c_str(), &Entry);
    if (hFind == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND)
        return {}; // the root of an empty drive: other folders hold at least "."
    if (hFind == INVALID_HANDLE_VALUE)
        throw FileError(sFolder, "cannot be listed", GetLastError());
    const std::unique_ptr<void, CloseFind> Find(hFind);
    std::vector<WIN32_FIND_DATAW> Found;
    do
    {
        const std::wstring_view sName = Entry.cFileName;
        if (sName != L"." && sName != L"..")
            Found.push_back(Entry);
    } while (FindNextFileW(hFind, &Entry));
    if (GetLastError() != ERROR_NO_MORE_FILES)
        throw FileError(sFolder, "cannot be listed to its end", GetLastError());
    return Found;
}

void CollectFolder(const std::wstring& sFolder, const std::wstring& sRelative, std::vector<FoundFile>& Files)
{
    for (const WIN32_FIND_DATAW& Entry : Entries(sFolder))
    {
        const std::wstring sPath = PathIn(sFolder, Entry.cFileName);
        const std::wstring sName = sRelative.empty() ? Entry.cFileName : PathIn(sRelative, Entry.cFileName);
        if (IsLinkedFolder(Entry.dwFileAttributes))
            Err().WriteLine("Not followed: \"" + DisplayPath(sPath) + "\" is a link to a folder.");
        else if (IsFolder(Entry.dwFileAttributes))
            CollectFolder(sPath, sName, Files);
        else
            Files.push_back({sPath, sName});
    }
}

void CollectArgument(const std::wstring& sArgument, std::vector<FoundFile>& Files)
{
    const std::wstring sPath = FullPath(sArgument);
    const DWORD dwAttributes = GetFileAttributesW(sPath.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES)
        throw FileError(sPath, "cannot be opened", GetLastError());
    const std::wstring sName = sPath.substr(sPath.find_last_of(L'\\') + 1); // empty for a drive's root
    if (IsFolder(dwAttributes))
        CollectFolder(sPath, sName, Files);
    else
        Files.push_back({sPath, sName});
}

void CheckNames(const std::vector<FoundFile>& Files)
{
    std::set<std::wstring, IgnoringCase> Names;
    for (const FoundFile& File : Files)
    {
        const std::string sName = TapeName(File.sRelative);
        if (sName.size() > MAX_NAME_LENGTH)
            throw FileError(File.sPath, "has a name that is too long");
        if (RelativePath(sName) != File.sRelative)
            throw FileError(File.sPath, "has a name that is not Unicode");
        if (!Names.insert(File.sRelative).second)
            throw FileError(File.sPath, "would take the place of another file of the same name");
    }
}

} // namespace

SourceFile::SourceFile(const std::wstring& sPath, std::string sTapeName)
    : m_sPath(sPath), m_sTapeName(std::move(sTapeName)),
      m_hFile(OpenFile(sPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       OPEN_EXISTING)),
      m_Facts(FactsOf(m_hFile.get(), sPath))
{
}

void SourceFile::ReadNext(std::span<std::byte> Data)
{
    while (!Data.empty())
    {
        DWORD dwRead = 0;
        if (!ReadFile(m_hFile.get(), Data.data(), static_cast<DWORD>(Data.size()), &dwRead, nullptr))
            throw FileError(m_sPath, "cannot be read", GetLastError());
        if (dwRead == 0)
            throw FileError(m_sPath, "shrank while it was being read");
        Data = Data.subspan(dwRead);
    }
}

void SourceFile::CheckUnchanged() const
{
    const FileFacts Now = FactsOf(m_hFile.get(), m_sPath);
    if (Now.uiSize != m_Facts.uiSize)
        throw FileError(m_sPath, Now.uiSize > m_Facts.uiSize ? "grew while it was being read"
                                                             : "shrank while it was being read");
    if (Now != m_Facts)
        throw FileError(m_sPath, "was changed while it was being read");
}

std::vector<SourceFile> OpenSourceFiles(const std::vector<std::wstring>& Arguments)
{
    std::vector<FoundFile> Found;
    for (const std::wstring& sArgument : Arguments)
        CollectArgument(sArgument, Found);
    if (Found.empty())
        throw std::runtime_error("there is no file to back up");
    if (Found.size() > MAX_FILES)
        throw std::runtime_error(std::to_string(Found.size()) +
                                 " files are too many: a backup holds at most " + std::to_string(MAX_FILES));
    CheckNames(Found);
    std::ranges::sort(Found, IgnoringCase(), &FoundFile::sRelative);
    std::vector<SourceFile> Sources;
    for (const FoundFile& File : Found)
        Sources.emplace_back(File.sPath, TapeName(File.sRelative));
    return Sources;
}
