#include "host/Backup.h"

#include "host/Archive.h"
#include "host/Hash.h"
#include "host/Restore.h"
#include "host/Versions.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace {

constexpr std::uint64_t EXPECTED_AREAS = 300; // the others are for what broken connections cost
constexpr std::uint64_t ENTRY_SIZE = 2048;    // about what an entry's headers take in the archive

// The zeros that are sent for the rest of a damaged file, as long as areas can be spared.
constexpr std::uint64_t MAX_FILLED_SIZE = std::uint64_t{16} << 20;
constexpr int MAX_CUTS = 16;                  // areas that damaged files may cost
constexpr int MAX_BREAKS = 9;                 // of the connection while no area is sent and no file left out
constexpr std::size_t MAX_PATHS_SIZE = 16384; // a header has one block, and JSON may double this

// The number of entries that an area may hold is divided when a connection breaks, and multiplied when an area is sent.
constexpr std::uint64_t ANY_NUMBER = std::uint64_t{1} << 32;
constexpr std::uint64_t NARROWING = 16;
constexpr std::uint64_t WIDENING = 4;

// The texts, or only their number if they do not fit into a volume header.
std::vector<std::string> Abridged(const std::vector<std::string>& Texts, const char* pOfWhat)
{
    const bool bFits = fmt::format("{}", fmt::join(Texts, "   ")).size() <= MAX_PATHS_SIZE;
    return bFits ? Texts : std::vector{CountText(Texts.size(), pOfWhat)};
}

class Backup
{
public:
    Backup(Session& Current, const CommandLine& Given, SourceTree Tree)
        : m_Session(Current), m_Given(Given), m_Tree(std::move(Tree))
    {
    }

    ExitCode Run()
    {
        Count();
        Say("Backing up {}, {}, to {}.", CountText(m_Expected.files, "file"), SizeText(m_Expected.bytes),
            Describe(m_Session.Target()));
        Phase(ExitCode::BackupFailed,
              "THE BACKUP FAILED, and what was written is not complete: ", [&] { Write(); });
        Say("{} {}: {}, {}.",
            m_bStopped ? "STOPPED, this version is INCOMPLETE:" : "Backed up as the version of",
            VersionText(m_tVersion), CountText(m_Saved.files, "file"), m_Progress.Summary());
        Say("Not saved, as always: owners, access lists, alternate streams{}{}{}.",
            m_Without.uiEncrypted == 0 ? ""
                                       : ", the encryption of " + CountText(m_Without.uiEncrypted, "file"),
            m_Without.uiNotHere == 0 ? "" : fmt::format(", files in a cloud ({})", m_Without.uiNotHere),
            m_Without.uiNoted == 0 ? "" : fmt::format(", app links and sockets ({})", m_Without.uiNoted));
        if (m_bStopped)
            return ExitCode::Stopped;
        if (m_Given.bVerify)
            Verify();
        if (m_Saved.problems == 0)
            return ExitCode::Done;
        Complain("BUT not everything was saved as it was: {}, named above.",
                 CountText(m_Saved.problems, "problem"));
        return ExitCode::DoneWithProblems;
    }

private:
    void Count()
    {
        Say("Counting what there is to save ...");
        std::uint64_t uiEntries = 0;
        SourceTree Ahead = m_Tree;
        for (; const std::optional<DiskEntry> Found = Ahead.Next(); ++uiEntries)
        {
            CheckInterrupt();
            if (!Found->What.CanBeRestored())
                continue;
            m_Expected.files += Found->What.type == Kind::File;
            m_Expected.bytes += Found->What.size;
        }
        for (const std::string& sPattern : Ahead.UselessExcludes())
            Complain("Note: --exclude {} leaves out nothing: no name in the backup matches it.",
                     Quoted(sPattern));
        if (m_Expected.files == 0)
            Complain("WARNING: there is no file to save.");
        // Two areas in a row hold more than the size of one.
        m_uiAreaSize = std::max(m_Given.uiAreaSize << 20,
                                2 * (m_Expected.bytes + uiEntries * ENTRY_SIZE) / (EXPECTED_AREAS - 1) + 1);
        m_Progress.SetTotal(m_Expected.bytes);
        m_Next = m_Tree.Next();
    }

    // Throws when the version is not complete, but not when the user has stopped it.
    void Write()
    {
        m_Expected.zdv = RecordKind::Volume;
        m_Expected.id = m_Saved.id;
        m_Expected.paths = Abridged(m_Given.Paths, "path");
        m_Expected.excludes = Abridged(m_Given.Excluded, "pattern");
        m_tVersion = BeginVersion(m_Session, m_Expected);
        m_Session.Drive().MoveToEnd();
        bool bBroken = false;                            // the area that was written last
        for (bool bDone = false; !bDone && !m_bStopped;) // an empty backup has an area, too
        {
            const auto Before = std::tuple(m_Tree, m_Next, m_Saved, m_Without);
            const std::uint64_t uiBefore = m_Progress.Bytes();
            m_sSending.clear();
            try
            {
                if (bBroken)
                    CloseBrokenArea();
                WriteArea();
                bDone = !m_Next;
                bBroken = false;
                m_iBreaksInARow = 0;
                m_uiMost = std::min(WIDENING * m_uiMost, ANY_NUMBER);
                m_Named.clear();
            }
            catch (const DeviceError& Error)
            {
                bBroken = true;
                m_Archive.reset();
                m_sBreak = Error.what();
                if (++m_iBreaksInARow == MAX_BREAKS)
                    throw;
                CountBreak();
                std::tie(m_Tree, m_Next, m_Saved, m_Without) = Before;
                m_Progress.GoBack(uiBefore);
            }
        }
    }

    // The server may break the connection because of a small file while later ones are being sent. So areas hold fewer
    // and fewer entries until that file is alone in one.
    void CountBreak()
    {
        const bool bFile = !m_sSending.empty();
        if (bFile)
            ++m_Breaks[m_sSending];
        const bool bLeftOut = IsHopeless(m_sSending);
        Complain("The connection broke: {}.\n  {}", m_sBreak,
                 m_bStopped ? "The area that was being written is lost."
                 : bLeftOut ? fmt::format("{} is left out.", Quoted(m_sSending))
                            : fmt::format("Area {} is sent again.", Area()));
        if (bLeftOut)
        {
            m_bLeftOut = true;
            m_iBreaksInARow = 0;
            m_uiMost = ANY_NUMBER;
        }
        else if (bFile && (m_iBreaksInARow > 1 || m_uiMost != ANY_NUMBER))
            m_uiMost = std::max(m_uiEntries / NARROWING, std::uint64_t{1});
    }

    bool IsHopeless(const std::string& sPath) const
    {
        const auto Found = m_Breaks.find(sPath);
        return Found != m_Breaks.end() && Found->second >= Session::MAX_TRIES;
    }

    void Verify()
    try
    {
        const ExitCode enCode =
            Phase(ExitCode::DataDiffers, "The backup is written, but was not compared to its end: ", [&] {
                m_Session.Patiently([&] { m_Session.Open(m_tVersion); });
                Volume Tape = LookAt(m_Session);
                Tape.Sums = m_Sums;
                if (Tape.Last.sSum == m_Sums.rbegin()->second)
                    return ReadVersion(m_Session, Tape, Command::Verify, {});
                Complain("Differs: the last record of the backup {}",
                         Tape.Last.Intact() ? "is not what was just written" : Printable(Tape.Last.sProblem));
                return ExitCode::DataDiffers;
            });
        if (enCode == ExitCode::DataDiffers)
            throw CommandFailure{
                enCode, "THE BACKUP CANNOT BE RELIED ON: what the server shows is not what was just written. "
                        "Back up once more, and keep older versions until then."};
    }
    catch (const Interrupted&)
    {
        throw CommandFailure{ExitCode::Stopped,
                             "Stopped by Ctrl+C: the backup is complete, but was not compared to its end."};
    }

    std::uint32_t Area() const { return AreaOf(m_uiObject); }

    void WriteObject(std::string sLines)
    {
        WriteRecord(m_Session.Drive(), std::move(sLines));
        ++m_uiObject;
    }

    void WriteManifest(AreaState enState)
    {
        m_Saved.state = enState;
        m_Saved.area = Area();
        m_Saved.abandoned.assign(m_Abandoned.begin(), m_Abandoned.end());
        std::string sLines = ToLine(m_Saved) + m_sEntries;
        m_Sums[Area()] = HashOf(sLines);
        WriteObject(std::move(sLines));
    }

    // A file that has broken the connection begins an area, so that what comes before it is not sent again and again.
    bool HasRoomFor(const Entry& What) const
    {
        return m_uiEntries < m_uiMost && m_sEntries.size() < MANIFEST_SIZE &&
               (m_Archive->Size() == 0 ||
                (m_Archive->Size() + What.size <= m_uiAreaSize && !m_Breaks.contains(What.path)));
    }

    void WriteArea()
    {
        if (Area() > MAX_AREAS)
            throw std::runtime_error(fmt::format(
                "A version holds {} areas at most, and broken connections have cost {} of them. Repair "
                "the connection, or leave the files named above out with --exclude, and begin a new backup. "
                "What is saved can be restored with --at \"{}\".",
                MAX_AREAS, m_Abandoned.size(), VersionText(m_tVersion)));
        m_sEntries.clear();
        m_uiEntries = 0;
        WriteObject(ToLine(Head{.zdv = RecordKind::Area, .id = m_Saved.id, .area = Area()}));
        m_Archive.emplace(m_Session.Drive());
        bool bCut = false; // in the middle of an entry
        try
        {
            while (m_Next && !bCut && HasRoomFor(m_Next->What))
            {
                DiskEntry Found = std::move(*m_Next);
                m_Next = m_Tree.Next();
                bCut = !WriteEntry(Found);
            }
        }
        catch (const Interrupted&)
        {
            m_bStopped = true;
        }
        // An empty archive that is cut off makes no object, and the manifest would take its place.
        const bool bStarted = m_Archive->Size() != 0;
        bCut || (m_bStopped && bStarted) ? m_Archive->CutOff() : m_Archive->Close();
        ++m_uiObject;
        m_sSending.clear();
        if (!m_Next && m_Saved.files == 0 && m_bLeftOut)
            throw std::runtime_error("No file could be sent: " + m_sBreak);
        WriteManifest(m_bStopped ? AreaState::Stopped : m_Next ? AreaState::Partial : AreaState::Complete);
    }

    // False when the area must end within this entry.
    bool WriteEntry(DiskEntry& Found)
    {
        CheckInterrupt();
        Entry& What = Found.What;
        m_Progress.Begin(What.path);
        bool bWhole = true;
        const FileHandle hFile = Open(Found);
        if (What.state == State::Saved)
        {
            ++m_uiEntries;
            What.offset = m_Archive->Size();
            m_sSending = What.path;
            m_Archive->Begin(What);
            bWhole = !hFile || WriteData(hFile.get(), Found);
            if (bWhole)
                m_Archive->End();
        }
        m_Without.uiEncrypted += What.CanBeRestored() && Found.bEncrypted;
        m_Without.uiNotHere += What.state == State::NotHere;
        m_Without.uiNoted += What.state == State::Noted;
        if (What.IsProblem() && m_Named.insert(What.path).second)
            NameProblem(What);
        ::Count(m_Saved, What);
        m_sEntries += ToLine(What);
        return bWhole;
    }

    // Reads a file's beginning into m_Read. Null for all that is no file, and for what is skipped.
    FileHandle Open(DiskEntry& Found)
    {
        Entry& What = Found.What;
        if (What.state != State::Saved)
            return nullptr;
        try
        {
            if (IsHopeless(What.path))
                throw std::runtime_error("the connection broke each time it was sent. The last reason: " +
                                         m_sBreak);
            if (What.type != Kind::File)
                return nullptr;
            FileHandle hFile = OpenFile(Found.sFile, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
            const Entry Now = FactsOf(hFile.get(), Found.sFile); // the folder may know an old size and time
            What.size = Now.size;
            What.mtime = Now.mtime;
            // Most of what cannot be read fails here, before its header is sent.
            ReadPiece(hFile.get(), Found.sFile);
            return hFile;
        }
        catch (const std::runtime_error& Error)
        {
            What.state = State::Skipped;
            What.problem = Error.what();
            return nullptr;
        }
    }

    void ReadPiece(HANDLE hFile, const std::wstring& sFile)
    {
        DWORD dwRead = 0;
        if (!ReadFile(hFile, m_Piece.data(), PIECE_SIZE, &dwRead, nullptr))
            throw FileError(sFile, "could not be read to its end", GetLastError());
        m_Read = std::span(m_Piece).first(dwRead);
    }

    // Sends the file from m_Read on. False when the area must end here.
    bool WriteData(HANDLE hFile, DiskEntry& Found)
    {
        Entry& What = Found.What;
        std::uint64_t uiLeft = What.size;
        try
        {
            Sha256 Hash;
            for (;;)
            {
                const auto Read = m_Read.first(std::min<std::uint64_t>(uiLeft, m_Read.size()));
                Hash.Add(Read);
                Send(Read);
                m_Progress.Advance(Read.size());
                uiLeft -= Read.size();
                if (uiLeft == 0)
                    break;
                ReadPiece(hFile, Found.sFile);
                if (m_Read.empty())
                    throw FileError(Found.sFile, "shrank while it was being read");
            }
            What.sha256 = Hash.Finish();
            const Entry Now = FactsOf(hFile, Found.sFile);
            if (Now.size == What.size && Now.mtime == What.mtime)
                return true;
            What.state = State::Changed;
            What.problem = FileError(Found.sFile, "was changed while it was being read").what();
            return true;
        }
        catch (const FileError& Error)
        {
            What.state = State::Damaged;
            What.problem = Error.what();
            return FillUp(uiLeft);
        }
    }

    void Send(std::span<const std::byte> Data)
    {
        CheckInterrupt();
        m_Archive->Write(Data);
    }

    // Sends zeros for what a file's header has promised and the file does not give. False when that is too much: then
    // the archive is cut off there, as when the user stops it, and tar reads what comes before. Areas are few, so a
    // backup cuts MAX_CUTS of them at most. An area that zeros would fill by more than half is always cut off.
    bool FillUp(std::uint64_t uiLeft)
    {
        if (uiLeft > m_uiAreaSize / 2 || (uiLeft > MAX_FILLED_SIZE && m_iCuts++ < MAX_CUTS))
            return false;
        std::ranges::fill(m_Piece, std::byte{0});
        for (; uiLeft > PIECE_SIZE; uiLeft -= PIECE_SIZE)
            Send(m_Piece);
        return true; // the archive adds the rest
    }

    // Makes the tape ready for the next area. Of the object that failed, the server may have kept nothing, a part or
    // all.
    //   failed at   exists   then
    //   header      no       the area is begun again
    //   header      yes      an empty archive and a manifest close the area, which does not count
    //   data        no       the same
    //   data        yes      a manifest closes the area, which does not count
    //   manifest    no       the same
    //   manifest    yes      nothing is missing, but the manifest may be cut off: the area does not count either
    void CloseBrokenArea()
    {
        m_Session.Reconnect();
        CheckVersion(m_Session, m_Saved.id);
        const bool bExists = ReadRecord(m_Session, m_uiObject).has_value();
        if (!bExists && !ReadRecord(m_Session, m_uiObject - 1))
            throw TapeError("the server has lost objects of this backup");
        if (bExists || !IsHeader(m_uiObject))
            m_Abandoned.insert(Area());
        m_uiObject += bExists;
        m_sEntries.clear();
        Device& Drive = m_Session.Drive();
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

    // What is left out on purpose.
    struct Omissions
    {
        std::uint64_t uiEncrypted = 0;
        std::uint64_t uiNotHere = 0;
        std::uint64_t uiNoted = 0;
    };

    Session& m_Session;
    const CommandLine& m_Given;
    SourceTree m_Tree;
    std::optional<DiskEntry> m_Next;
    std::uint64_t m_uiAreaSize = 0;
    Head m_Expected;
    Head m_Saved{.zdv = RecordKind::Manifest, .id = RandomId(), .computer = ComputerName()};
    Omissions m_Without;
    Progress m_Progress;

    std::time_t m_tVersion = 0;
    std::uint32_t m_uiObject = HeaderObject(1); // the one to be written next
    std::set<std::uint32_t> m_Abandoned;
    std::map<std::string, int> m_Breaks; // of the connection, by the entry that was being sent
    int m_iBreaksInARow = 0;
    std::string m_sBreak;                // why it broke last
    std::string m_sSending;              // the entry that is being sent; empty: a record
    std::set<std::string> m_Named;       // problems of this area, which may be written several times
    std::uint64_t m_uiMost = ANY_NUMBER; // entries that an area may hold
    std::uint64_t m_uiEntries = 0;       // that this area holds, without those that are left out
    int m_iCuts = 0;
    std::optional<ArchiveWriter> m_Archive;
    std::string m_sEntries;                      // the lines of this area's manifest
    std::map<std::uint32_t, std::string> m_Sums; // of the manifests, by area
    Block m_Piece = Block(PIECE_SIZE);
    std::span<const std::byte> m_Read; // a part of m_Piece
    bool m_bLeftOut = false;           // a file that broke the connection
    bool m_bStopped = false;
};

} // namespace

ExitCode RunBackup(Session& Current, const CommandLine& Given, SourceTree Tree)
{
    return Backup(Current, Given, std::move(Tree)).Run();
}
