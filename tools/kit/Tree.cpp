#include "tools/kit/Tree.h"

#include "host/LocalFile.h"
#include "host/Text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

// Both normal forms of the same words, other scripts, signs that shells and URLs use, and a final point.
constexpr const wchar_t* NAMES[] = {L"f\u00FCr",   L"fu\u0308r", L"\uAC00",          L"\u1100\u1161",
                                    L"\U0001F4BE", L"Москва",    L"50% & ^ ! #1 ;'", L"point."};
constexpr unsigned SMALL_FILES = 2000;

void MakeFolder(const std::wstring& sFolder)
{
    if (!CreateDirectoryW(sFolder.c_str(), nullptr))
        throw FileError(sFolder, "cannot be created", GetLastError());
}

void MakeFile(const std::wstring& sPath, std::uint64_t uiBytes)
{
    std::ofstream File(std::filesystem::path(sPath), std::ios::binary);
    std::mt19937_64 Random(uiBytes);
    for (std::array<std::uint64_t, 8192> aPiece; uiBytes > 0;)
    {
        std::ranges::generate(aPiece, std::ref(Random));
        const std::uint64_t uiPiece = std::min<std::uint64_t>(uiBytes, sizeof(aPiece));
        File.write(reinterpret_cast<const char*>(aPiece.data()), static_cast<std::streamsize>(uiPiece));
        uiBytes -= uiPiece;
    }
    if (!File.flush())
        throw FileError(sPath, "cannot be written");
}

bool HaveSameContent(const std::wstring& sLeft, const std::wstring& sRight)
{
    using Bytes = std::istreambuf_iterator<char>;
    std::ifstream Left(std::filesystem::path(sLeft), std::ios::binary);
    std::ifstream Right(std::filesystem::path(sRight), std::ios::binary);
    return Left && Right && std::equal(Bytes(Left), {}, Bytes(Right), {});
}

bool AreSame(const DiskEntry& Left, const DiskEntry& Right)
{
    const Entry &A = Left.What, &B = Right.What;
    if (A.type != B.type || A.attributes != B.attributes)
        return false;
    if (A.IsLink())
        return ReadLink(Left.sFile) == ReadLink(Right.sFile);
    return A.mtime == B.mtime && (A.type == Kind::Folder || HaveSameContent(Left.sFile, Right.sFile));
}

} // namespace

std::string MakeTree(const std::wstring& sFolder, std::uint64_t uiLargestFile)
{
    std::wstring sDeep = PathIn(sFolder, L"deep"), sSmall = PathIn(sFolder, L"small");
    for (const std::wstring& sNew : {sFolder, sDeep, sSmall})
        MakeFolder(sNew);
    MakeFile(PathIn(sFolder, L"large"), uiLargestFile);
    for (const wchar_t* pName : NAMES)
        MakeFile(PathIn(sFolder, pName), 70'000);
    SetFileAttributesW(PathIn(sFolder, NAMES[0]).c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    for (unsigned i = 0; i < SMALL_FILES; ++i)
        MakeFile(PathIn(sSmall, std::to_wstring(i)), i * 11);
    for (int i = 0; i < 9; ++i)
        MakeFolder(sDeep = PathIn(sDeep, L"forty characters long, or somewhat more."));
    MakeFile(PathIn(sDeep, L"file"), 1);

    std::string sProblems;
    for (const auto& [pLink, pTarget, bFolder] : {std::tuple(L"link to a file", "large", false),
                                                  {L"link to a folder", "small", true},
                                                  {L"link to nothing", "nothing/at all", false}})
        try
        {
            CreateLink(PathIn(sFolder, pLink), pTarget, bFolder);
        }
        catch (const FileError& Error)
        {
            sProblems += std::string("Left out: ") + Error.what() + '\n';
        }
    return sProblems;
}

std::string Differences(const std::wstring& sLeft, const std::wstring& sRight)
{
    const std::vector<DiskEntry> aLeft = ListFolder(sLeft), aRight = ListFolder(sRight);
    const auto Name = [](const DiskEntry& Found) { return Found.What.path; };
    if (!std::ranges::equal(aLeft, aRight, {}, Name, Name))
        return "Other names in: " + DisplayPath(sLeft) + '\n';
    std::string sDifferent;
    for (std::size_t i = 0; i < aLeft.size(); ++i)
        if (!AreSame(aLeft[i], aRight[i]))
            sDifferent += "Differs: " + DisplayPath(aLeft[i].sFile) + '\n';
        else if (aLeft[i].What.type == Kind::Folder)
            sDifferent += Differences(aLeft[i].sFile, aRight[i].sFile);
    return sDifferent;
}

void RemoveTree(const std::wstring& sFolder)
{
    if (IsFolder(sFolder))
        for (const DiskEntry& Found : ListFolder(sFolder))
        {
            if (Found.What.type == Kind::Folder)
                RemoveTree(Found.sFile);
            if (Found.What.type == Kind::File)
                SetFileAttributesW(Found.sFile.c_str(), FILE_ATTRIBUTE_NORMAL);
            if (!DeleteFileW(Found.sFile.c_str()))
                RemoveDirectoryW(Found.sFile.c_str()); // also a link to a folder
        }
    RemoveDirectoryW(sFolder.c_str());
}
