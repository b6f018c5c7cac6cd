#include "host/Backup.h"

#include "host/Archive.h"
#include "host/Hash.h"
#include "host/Restore.h"
#include "host/Versions.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace {

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

class Backup
{
public:
    Backup(Session& Server, const CommandLine& Given, SourceTree Tree)
        : m_Server(Server), m_Paths(Given.Paths), m_Excluded(Given.Excluded),
          m_uiAreaSize(Given.uiAreaSize << 20), m_bVerify(Given.bVerify), m_Tree(std::move(Tree))
    {
        constexpr std::size_t MAX_PATHS_SIZE = 16384; // a header has one block, and JSON may double this
        if (fmt::format("{}", fmt::join(m_Paths, "   ")).size() > MAX_PATHS_SIZE)
            m_Paths = {CountText(m_Paths.size(), "path")};
        std::uint64_t uiEntries = 0;
        for (SourceTree Ahead = m_Tree; const std::optional<DiskEntry> Found = Ahead.Next(); ++uiEntries)
        {
            CheckInterrupt();
            m_Expected.files += Found->What.type == Kind::File;
            m_Expected.bytes += Found->What.size;
        }
        // Two areas in a row hold more than one area's size.
        m_uiAreaSize = std::max(m_uiAreaSize,
                                2 * (m_Expected.bytes + uiEntries * ENTRY_SIZE) / (EXPECTED_AREAS - 1) + 1);
        m_Progress.SetTotal(m_Expected.bytes);
        m_Next = m_Tree.Next();
    }

    ExitCode Run()
    {
        Say("Backing up {}, {}, to {}.", CountText(m_Expected.files, "file"), SizeText(m_Expected.bytes),
            Describe(m_Server.Target()));
        Phase(ExitCode::BackupFailed, "THE BACKUP FAILED, what was written is not complete. ",
              [&] { Write(); });
        Say("{} {}: {}, {}.",
            m_bStopped ? "STOPPED, the version is INCOMPLETE:" : "Backed up as the version of",
            VersionText(m_tVersion), CountText(m_Saved.files, "file"), m_Progress.Summary());
        Say("Not saved, as always: owners, access lists{}{}.",
            m_uiWithStreams == 0 ? "" : ", the alternate streams of " + CountText(m_uiWithStreams, "file"),
            m_uiEncrypted == 0 ? "" : ", the encryption of " + CountText(m_uiEncrypted, "file"));
        if (m_bStopped)
            return ExitCode::Stopped;
        if (m_bVerify)
            Verify();
        if (m_Saved.problems == 0)
            return ExitCode::Done;
        Complain("BUT not everything was saved as it is, see above: {}.", m_Saved.problems);
        return ExitCode::DoneWithProblems;
    }

private:
    // Throws when the version is not complete; not when the user stopped it.
    void Write()
    {
        m_Expected.zdv = RecordKind::Volume;
        m_Expected.id = m_Saved.id;
        m_Expected.paths = m_Paths;
        m_Expected.excludes = m_Excluded;
        m_tVersion = BeginVersion(m_Server, m_Expected);
        m_Server.Drive().MoveToEnd();
        bool bBroken = false;
        int iFailures = 0;
        for (bool bDone = false; !bDone && !m_bStopped;) // without any entry, too, there is an area
        {
            const auto Before = std::tuple(m_Tree, m_Next, m_Saved);
            try
            {
                if (bBroken)
                    CloseBrokenArea();
                WriteArea();
                bDone = !m_Next;
                bBroken = false;
                iFailures = 0;
            }
            catch (const DeviceError& Error)
            {
                m_Archive.reset();
                if (++iFailures == Session::MAX_TRIES)
                    throw;
                Complain("The connection broke: {}.\n  Area {} is written again.", Error.what(), Area());
                bBroken = true;
                std::tie(m_Tree, m_Next, m_Saved) = Before;
                m_Progress.GoBack(m_Saved.bytes);
            }
        }
    }

    void Verify()
    {
        const auto Compare = [&] {
            m_Server.Open(m_tVersion);
            return ReadVersion(m_Server, LookAt(m_Server), {}, nullptr);
        };
        if (Phase(ExitCode::DataDiffers, "", Compare) != ExitCode::Done)
            throw CommandFailure{ExitCode::DataDiffers, "THE BACKUP CANNOT BE RELIED ON."};
    }

    std::uint32_t Area() const { return AreaOf(m_uiObject); }

    void WriteObject(const std::string& sLines)
    {
        WriteRecord(m_Server.Drive(), sLines);
        ++m_uiObject;
    }

    void WriteManifest(AreaState enState)
    {
        m_Saved.state = enState;
        m_Saved.area = Area();
        m_Saved.abandoned.assign(m_Abandoned.begin(), m_Abandoned.end());
        WriteObject(ToLine(m_Saved) + m_sEntries);
    }

    bool HasRoomFor(const Entry& What) const
    {
        return m_Archive->Size() == 0 ||
               (m_Archive->Size() + What.size <= m_uiAreaSize && m_sEntries.size() < MANIFEST_SIZE);
    }

    void WriteArea()
    {
        if (Area() > MAX_AREAS)
            throw std::runtime_error(
                fmt::format("a backup holds {} areas, and there is more to save: choose a "
                            "larger --area-size",
                            MAX_AREAS));
        m_sEntries.clear();
        WriteObject(ToLine(Head{.zdv = RecordKind::Area, .id = m_Saved.id, .area = Area()}));
        m_Archive.emplace(m_Server.Drive());
        try
        {
            while (m_Next && HasRoomFor(m_Next->What))
            {
                DiskEntry Found = std::move(*m_Next);
                m_Next = m_Tree.Next();
                WriteEntry(Found);
            }
            m_Archive->Close();
        }
        catch (const Interrupted&)
        {
            m_bStopped = true;
            m_Archive->CutOff();
        }
        ++m_uiObject;
        WriteManifest(m_bStopped ? AreaState::Stopped : m_Next ? AreaState::Partial : AreaState::Complete);
    }

    void WriteEntry(DiskEntry& Found)
    {
        CheckInterrupt();
        Entry& What = Found.What;
        m_Progress.Begin(What.path);
        const FileHandle hFile = Open(Found);
        if (What.state == State::Saved)
        {
            What.offset = m_Archive->Size();
            m_Archive->Begin(What);
            if (hFile)
                WriteData(hFile.get(), Found);
            m_Archive->End(); // fills up what a damaged file lacks
            m_Saved.files += What.type == Kind::File;
            m_Saved.folders += What.type == Kind::Folder;
            m_Saved.links += What.IsLink();
            m_Saved.bytes += What.size;
            m_uiEncrypted += Found.bEncrypted;
            m_uiWithStreams += What.type == Kind::File && HasStreams(Found.sFile);
        }
        if (What.state != State::Saved)
        {
            ++m_Saved.problems;
            Complain("Not saved as it is ({}): {}: {}", TextOf(What.state), Quoted(What.path), What.problem);
        }
        m_sEntries += ToLine(What);
    }

    // Nothing for what is no file, or cannot be opened. The folder may know an old size and time.
    static FileHandle Open(DiskEntry& Found)
    {
        Entry& What = Found.What;
        if (What.state != State::Saved || What.type != Kind::File)
            return nullptr;
        try
        {
            FileHandle hFile = OpenFile(Found.sFile, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
            const Entry Now = FactsOf(hFile.get(), Found.sFile);
            What.size = Now.size;
            What.mtime = Now.mtime;
            return hFile;
        }
        catch (const FileError& Error)
        {
            What.state = State::Skipped;
            What.problem = Error.what();
            return nullptr;
        }
    }

    void WriteData(HANDLE hFile, DiskEntry& Found)
    {
        Entry& What = Found.What;
        const auto Tell = [&](State enState, const FileError& Error) {
            What.state = enState;
            What.problem = Error.what();
        };
        Sha256 Hash;
        for (std::uint64_t uiLeft = What.size; uiLeft != 0;)
        {
            DWORD dwRead = 0;
            const auto dwWanted = static_cast<DWORD>(std::min<std::uint64_t>(uiLeft, PIECE_SIZE));
            if (!ReadFile(hFile, m_Piece.data(), dwWanted, &dwRead, nullptr))
                return Tell(State::Damaged,
                            FileError(Found.sFile, "could not be read to its end", GetLastError()));
            if (dwRead == 0)
                return Tell(State::Damaged, FileError(Found.sFile, "shrank while it was being read"));
            const std::span<const std::byte> Read = std::span(m_Piece).first(dwRead);
            Hash.Add(Read);
            m_Archive->Write(Read);
            m_Progress.Advance(dwRead);
            CheckInterrupt();
            uiLeft -= dwRead;
        }
        What.sha256 = Hash.Finish();
        const Entry Now = FactsOf(hFile, Found.sFile);
        if (Now.size != What.size || Now.mtime != What.mtime)
            Tell(State::Changed, FileError(Found.sFile, "was changed while it was being read"));
    }

    // What the server has kept of the object that failed is not known: nothing, a part or all of it.
    void CloseBrokenArea()
    {
        m_Server.Reconnect();
        CheckVersion(m_Server, m_Saved.id);
        const bool bExists = ReadRecord(m_Server, m_uiObject).has_value();
        if (!bExists && !ReadRecord(m_Server, m_uiObject - 1))
            throw TapeError("the server has lost objects of this backup");
        if (bExists || !IsHeader(m_uiObject))
            m_Abandoned.insert(Area());
        m_uiObject += bExists;
        m_sEntries.clear();
        Device& Drive = m_Server.Drive();
        Drive.MoveToEnd();
        if (m_uiObject % 3 == 0)
        {
            Drive.Write(Block(ZDV_BLOCK_SIZE)); // an empty archive
            Drive.WriteFilemark();
            ++m_uiObject;
        }
        if (!IsHeader(m_uiObject))
            WriteManifest(AreaState::Abandoned);
    }

    Session& m_Server;
    std::vector<std::string> m_Paths;
    std::vector<std::string> m_Excluded;
    std::uint64_t m_uiAreaSize;
    bool m_bVerify;
    SourceTree m_Tree;
    std::optional<DiskEntry> m_Next;
    Head m_Expected;
    Head m_Saved{.zdv = RecordKind::Manifest, .id = RandomId(), .computer = ComputerName()};
    Progress m_Progress;

    std::time_t m_tVersion = 0;
    std::uint32_t m_uiObject = HeaderObject(1); // the one to be written next
    std::set<std::uint32_t> m_Abandoned;
    std::optional<ArchiveWriter> m_Archive;
    std::string m_sEntries; // the lines of this area's manifest
    Block m_Piece = Block(PIECE_SIZE);
    bool m_bStopped = false;
    std::uint64_t m_uiEncrypted = 0;
    std::uint64_t m_uiWithStreams = 0;
};

} // namespace

ExitCode RunBackup(Session& Server, const CommandLine& Given, SourceTree Tree)
{
    Say("Counting what there is to save ...");
    return Backup(Server, Given, std::move(Tree)).Run();
}
