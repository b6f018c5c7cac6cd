#include "host/Backup.h"

#include "host/Hash.h"
#include "host/Versions.h"

#include <algorithm>

namespace {

constexpr std::size_t PIECE_SIZE = std::size_t{1} << 20;
constexpr std::uint64_t EXPECTED_AREAS = 300; // leaves some for those that broken connections cost
constexpr std::uint64_t ENTRY_SIZE = 2048;    // of an entry's headers in the archive, about

bool HasStreams(const std::wstring& sFile)
{
    WIN32_FIND_STREAM_DATA Data{};
    const HANDLE hFind = FindFirstStreamW(sFile.c_str(), FindStreamInfoStandard, &Data, 0);
    if (hFind == INVALID_HANDLE_VALUE)
        return false;
    const bool bMore = FindNextStreamW(hFind, &Data) != 0; // the first one is the file's data
    FindClose(hFind);
    return bMore;
}

} // namespace

Backup::Backup(Session& Server, const std::vector<std::string>& Paths, SourceTree Tree,
               std::uint64_t uiAreaSize)
    : m_Server(Server), m_Paths(Paths), m_uiAreaSize(uiAreaSize), m_Tree(std::move(Tree)), m_sId(RandomId())
{
    constexpr std::size_t MAX_PATHS_SIZE = 32768; // a header has one block
    if (Json(m_Paths).dump().size() > MAX_PATHS_SIZE)
        m_Paths = {std::to_string(m_Paths.size()) + " paths"};
    std::uint64_t uiEntries = 0;
    for (SourceTree Ahead = m_Tree; const std::optional<SourceEntry> Source = Ahead.Next();)
    {
        CheckInterrupt();
        m_Expected.files += Source->What.type == "file";
        m_Expected.bytes += Source->What.size;
        uiEntries += 1;
    }
    // Two areas in a row hold more than one area's size.
    m_uiAreaSize =
        std::max(m_uiAreaSize, 2 * (m_Expected.bytes + uiEntries * ENTRY_SIZE) / (EXPECTED_AREAS - 1) + 1);
    m_Progress.SetTotal(m_Expected.bytes);
    m_Next = m_Tree.Next();
}

void Backup::Write()
{
    m_tVersion = BeginVersion(m_Server, {{"zdv", "volume"},
                                         {"id", m_sId},
                                         {"paths", m_Paths},
                                         {"files", m_Expected.files},
                                         {"bytes", m_Expected.bytes},
                                         {"areas", m_Expected.bytes / m_uiAreaSize + 1}});
    m_Server.Drive().MoveToEnd();
    m_uiObject = HeaderObject(1);
    int iFailures = 0;
    do
    {
        const SourceTree Tree = m_Tree;
        const std::optional<SourceEntry> Next = m_Next;
        const Totals Before = m_Totals;
        try
        {
            if (iFailures != 0)
                CloseBrokenArea();
            WriteArea();
            iFailures = 0;
        }
        catch (const DeviceError& Error)
        {
            m_Archive.reset();
            if (++iFailures == Session::MAX_TRIES)
                throw;
            Err().WriteLine(std::string("The connection broke: ") + Error.what() + ".\n  Area " +
                            std::to_string(AreaOf(m_uiObject)) + " is written again.");
            m_Tree = Tree;
            m_Next = Next;
            m_Totals = Before;
            m_Progress.GoBack(Before.bytes);
        }
    } while ((m_Next || iFailures != 0) && !m_bStopped);
}

void Backup::WriteObject(const std::string& sLines)
{
    WriteRecord(m_Server.Drive(), sLines);
    ++m_uiObject;
}

void Backup::WriteArea()
{
    const std::uint32_t uiArea = AreaOf(m_uiObject);
    if (uiArea > MAX_AREAS)
        throw std::runtime_error("a backup holds " + std::to_string(MAX_AREAS) +
                                 " areas, and there is more to save: choose a larger --area-size");
    m_sManifest.clear();
    WriteObject(Json{{"zdv", "area"}, {"id", m_sId}, {"area", uiArea}, {"paths", m_Paths}}.dump() + '\n');
    m_Archive = std::make_unique<ArchiveWriter>(m_Server.Drive());
    try
    {
        while (m_Next && (m_Archive->Size() == 0 || m_Archive->Size() + m_Next->What.size <= m_uiAreaSize))
        {
            SourceEntry Source = std::move(*m_Next);
            m_Next = m_Tree.Next();
            WriteEntry(Source);
        }
        m_Archive->Close();
    }
    catch (const Interrupted&)
    {
        m_bStopped = true;
        m_Archive->CutOff();
    }
    ++m_uiObject;
    WriteObject(Manifest(m_bStopped ? "stopped" : m_Next ? "partial" : "complete"));
}

void Backup::WriteEntry(SourceEntry& Source)
{
    CheckInterrupt();
    Entry& What = Source.What;
    m_Progress.Begin(What.path);
    FileHandle hFile;
    if (What.state.empty() && What.type == "file")
        try
        {
            hFile = OpenFile(Source.sFile, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
            Source.OnDisk = FactsOf(hFile.get(), Source.sFile); // the folder may know old ones
            What.size = Source.OnDisk.uiSize;
            What.mtime = Source.OnDisk.iModified;
        }
        catch (const FileError& Error)
        {
            What.state = "skipped";
            What.problem = Error.what();
        }
    if (What.state.empty())
    {
        What.offset = m_Archive->Size();
        m_Archive->Begin(What);
        if (hFile)
            WriteData(hFile.get(), Source, What);
        m_Archive->End(); // fills up what a damaged file lacks
        Count(Source);
    }
    if (!What.state.empty())
    {
        ++m_Totals.problems;
        Err().WriteLine("Not saved as it is (" + What.state + "): " + Quoted(What.path) + ": " +
                        What.problem);
    }
    m_sManifest += Json(What).dump() + '\n';
}

void Backup::WriteData(HANDLE hFile, const SourceEntry& Source, Entry& What)
{
    const auto Tell = [&](const char* pState, const FileError& Error) {
        What.state = pState;
        What.problem = Error.what();
    };
    Sha256 Hash;
    m_Piece.resize(PIECE_SIZE);
    for (std::uint64_t uiLeft = What.size; uiLeft != 0;)
    {
        DWORD dwRead = 0;
        const DWORD dwWanted = static_cast<DWORD>(std::min<std::uint64_t>(uiLeft, PIECE_SIZE));
        if (!ReadFile(hFile, m_Piece.data(), dwWanted, &dwRead, nullptr))
            return Tell("damaged", FileError(Source.sFile, "could not be read to its end", GetLastError()));
        if (dwRead == 0)
            return Tell("damaged", FileError(Source.sFile, "shrank while it was being read"));
        const std::span<const std::byte> Read = std::span(m_Piece).first(dwRead);
        Hash.Add(Read);
        m_Archive->Write(Read);
        m_Progress.Advance(dwRead);
        CheckInterrupt();
        uiLeft -= dwRead;
    }
    What.sha256 = Hash.Finish();
    const DiskEntry Now = FactsOf(hFile, Source.sFile);
    if (Now.uiSize != Source.OnDisk.uiSize || Now.iModified != Source.OnDisk.iModified)
        Tell("changed", FileError(Source.sFile, "was changed while it was being read"));
}

void Backup::Count(const SourceEntry& Source)
{
    const Entry& What = Source.What;
    m_Totals.files += What.type == "file";
    m_Totals.folders += What.type == "folder";
    m_Totals.links += What.IsLink();
    m_Totals.bytes += What.size;
    m_uiEncrypted += (Source.OnDisk.dwAttributes & FILE_ATTRIBUTE_ENCRYPTED) != 0;
    m_uiWithStreams += What.type == "file" && HasStreams(Source.sFile);
}

std::string Backup::Manifest(const char* pState) const
{
    Json Head = {{"zdv", "manifest"},
                 {"id", m_sId},
                 {"area", AreaOf(m_uiObject)},
                 {"state", pState},
                 {"data", m_Archive ? m_Archive->ObjectSize() : 0},
                 {"computer", ComputerName()},
                 {"abandoned", m_Abandoned}};
    Head.update(Json(m_Totals));
    return Head.dump() + '\n' + m_sManifest;
}

// What the server has kept of the object that failed is not known: nothing, a part or all of it.
void Backup::CloseBrokenArea()
{
    m_Server.Reconnect();
    CheckVersion(m_Server, m_sId);
    const bool bExists = ObjectExists(m_Server, m_uiObject);
    if (!bExists && !ObjectExists(m_Server, m_uiObject - 1))
        throw TapeError("the server has lost objects of this backup");
    if (bExists || !IsHeader(m_uiObject))
        m_Abandoned.insert(AreaOf(m_uiObject));
    m_uiObject += bExists;
    m_sManifest.clear();
    Device& Drive = m_Server.Drive();
    Drive.MoveToEnd();
    if (m_uiObject % 3 == 0)
    {
        Drive.Write(Block(ZDV_BLOCK_SIZE)); // an empty archive
        Drive.WriteFilemark();
        ++m_uiObject;
    }
    if (!IsHeader(m_uiObject))
        WriteObject(Manifest("abandoned"));
}

std::string Backup::Summary() const { return CountText(m_Totals.files) + ", " + m_Progress.Summary(); }

std::string Backup::Unsaved() const
{
    std::string sText = "Not saved, as always: owners, access lists";
    if (m_uiWithStreams != 0)
        sText += ", the alternate streams of " + CountText(m_uiWithStreams);
    if (m_uiEncrypted != 0)
        sText += ", the encryption of " + CountText(m_uiEncrypted);
    return sText + ".";
}
