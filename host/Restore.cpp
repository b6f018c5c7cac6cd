#include "host/Restore.h"

#include "host/Archive.h"
#include "host/Hash.h"
#include "host/Versions.h"

#include <tuple>

namespace {

void ShowEntry(const Entry& What)
{
    const bool bSaved = What.CanBeRestored() || What.state == State::Damaged;
    const std::string sSize = !bSaved                   ? ""
                              : What.type == Kind::File ? std::to_string(What.size)
                                                        : TextOf(What.type);
    std::string sLine =
        fmt::format("{:<19} {:>16}  {}", bSaved ? VersionText(What.mtime / TICKS_PER_SECOND) : "not saved",
                    sSize, What.path + (What.link.empty() ? "" : " -> " + What.link));
    if (What.state != State::Saved)
        sLine += fmt::format("  ({}: {})", TextOf(What.state), What.problem);
    Say("{}", Printable(sLine));
}

class VersionReader
{
public:
    VersionReader(Session& Current, const Volume& Tape, Command enPurpose,
                  const std::vector<std::string>& Wanted, TargetFolder* pTarget)
        : m_Session(Current), m_Tape(Tape), m_enPurpose(enPurpose), m_Wanted(Wanted), m_pTarget(pTarget)
    {
        if (m_Wanted.Empty())
            m_Progress.SetTotal(Tape.Last.First.bytes);
    }

    ExitCode Run()
    {
        if (!m_Tape.Header.Intact())
            Report("the volume header " + m_Tape.Header.sProblem + ". The files can be read without it");
        if (!m_Tape.sProblem.empty())
            Report("the version is DAMAGED: " + m_Tape.sProblem);
        else if (!m_Tape.Complete())
            Report("the version is INCOMPLETE: only what is there can be read");
        Areas All(m_Session, m_Tape);
        while (const std::optional<Area> From = All.Next())
            ReadArea(*From);
        FinishFolders("");
        CheckTotals();
        for (const std::string& sPattern : m_Wanted.Unmatched())
            Report(Quoted(sPattern), "no name in this backup matches");
        if (m_enPurpose != Command::List)
            Summarize();
        if (m_uiProblems != 0)
            return ExitCode::DataDiffers;
        return m_uiNotAsItWas == 0 ? ExitCode::Done : ExitCode::DoneWithProblems;
    }

private:
    void Summarize() const
    {
        Say("{} {} and {} folders and links, {}{}.", m_enPurpose == Command::Verify ? "Compared" : "Restored",
            CountText(m_uiFiles, "file"), m_uiOthers, m_Progress.Summary(),
            m_uiProblems == 0 ? "" : "; " + CountText(m_uiProblems, "problem"));
        if (m_Tape.JustWritten()) // the backup has named what it has not saved
            return;
        if (m_uiNotSaved != 0)
            Say("Not in this backup, on purpose (see \"zdv list\"): {}.", m_uiNotSaved);
        if (m_uiNotAsItWas != 0)
            Complain("BUT not everything was saved as it was: {}, named above.",
                     CountText(m_uiNotAsItWas, "problem"));
        if (m_uiProblems != m_uiRefused)
            Complain("Another version may hold what this one lacks: choose it with --at.");
    }

    void Report(const std::string& sWhat, const std::string& sProblem)
    {
        const char* const pAction = m_enPurpose == Command::List     ? "Not listed"
                                    : m_enPurpose == Command::Verify ? "Differs"
                                                                     : "Not restored";
        Complain("{}: {}: {}", pAction, sWhat, Printable(sProblem));
        ++m_uiProblems;
    }

    // Of the version as a whole.
    void Report(const std::string& sProblem)
    {
        Complain("Problem: {}", Printable(sProblem));
        ++m_uiProblems;
    }

    // One entry's failure must not cost the others; a server that stays away ends it all.
    template <typename Step> void Attempt(const std::string& sWhat, Step step)
    {
        try
        {
            step();
        }
        catch (const TapeError& Error)
        {
            Report(sWhat, Error.what());
        }
        catch (const FileError& Error)
        {
            ++m_uiRefused;
            Report(sWhat, Error.what());
        }
    }

    // An entry that cannot be read may only be too large for a poor line, so the next one is tried. If that gets no
    // further, the object cannot be read from there on: each try would read again all that comes before that place.
    struct Loss
    {
        std::uint64_t uiReached = 0; // at the last entry that could not be read
        std::string sReason{};       // why no further entry of the area is tried
    };

    void ReadArea(const Area& From)
    {
        const std::string sName = fmt::format("area {}", From.uiNumber);
        if (!From.Manifest.Intact())
        {
            m_bLost = true;
            return Report(sName, "its manifest, which names its files, " + From.Manifest.sProblem);
        }
        if (m_enPurpose == Command::Verify && !HasHeader(m_Session, From))
            Report(sName, "its header is missing or damaged. Its files can be read without it");
        ArchiveReader Archive(m_Session, DataObject(From.uiNumber));
        Loss Lost;
        std::string_view sLines = From.Manifest.sEntries;
        Attempt(sName, [&] {
            while (const std::optional<Entry> What = TakeEntry(sLines))
                ReadEntry(Archive, *What, Lost);
        });
    }

    void ReadEntry(ArchiveReader& Archive, const Entry& What, Loss& Lost)
    {
        CheckInterrupt();
        Count(m_Held, What);
        FinishFolders(What.path);
        if (!m_Wanted.Empty() && !m_Wanted.Match(What.path))
            return;
        if (m_enPurpose == Command::List)
            return ShowEntry(What);
        if (What.type == Kind::Unknown || What.state == State::Unknown)
            return Report(Quoted(What.path), "this zdv does not know this kind of entry: use a newer one");
        if (What.IsProblem() && !m_Tape.JustWritten())
            NameProblem(What);
        m_uiNotAsItWas += What.IsProblem();
        m_uiNotSaved += What.state == State::NotHere || What.state == State::Noted;
        if (What.CanBeRestored())
            ReadSaved(Archive, What, Lost);
    }

    void ReadSaved(ArchiveReader& Archive, const Entry& What, Loss& Lost)
    {
        const bool bInArchive = What.type == Kind::File || m_pTarget == nullptr; // or the manifest is enough
        m_Progress.Begin(What.path);
        const std::uint64_t uiBefore = m_Progress.Bytes();
        const auto Read = [&] {
            m_Progress.GoBack(uiBefore);
            if (bInArchive)
                Archive.Find(What);
            if (What.type == Kind::File)
                ReadFile(Archive, What);
            else if (!bInArchive && What.IsLink())
                m_pTarget->CreateLink(What);
            else if (!bInArchive && !m_pTarget->CreateFolder(What))
                return;
            ++(What.type == Kind::File ? m_uiFiles : m_uiOthers);
        };
        Attempt(Quoted(What.path), [&] {
            if (bInArchive && !Lost.sReason.empty())
                throw TapeError(Lost.sReason);
            try
            {
                m_Session.Patiently(Read);
            }
            catch (const UnreadableObject& Error)
            {
                if (Archive.Reached() == Lost.uiReached)
                    Lost.sReason = Error.what();
                Lost.uiReached = Archive.Reached();
                throw;
            }
        });
    }

    void ReadFile(ArchiveReader& Archive, const Entry& What)
    {
        std::optional<RestoredFile> File;
        if (m_pTarget != nullptr)
            File.emplace(*m_pTarget, What);
        Sha256 Hash;
        std::uint64_t uiSize = 0;
        while (const std::size_t uiRead = Archive.Read(m_Piece))
        {
            CheckInterrupt();
            if (uiRead > What.size - uiSize) // the zeros of a forged sparse file would never end
                throw TapeError("the archive holds more data than the manifest says");
            const std::span<const std::byte> Data = std::span(m_Piece).first(uiRead);
            Hash.Add(Data);
            if (File)
                File->Write(Data);
            m_Progress.Advance(uiRead);
            uiSize += uiRead;
        }
        if (uiSize != What.size || (!What.sha256.empty() && Hash.Finish() != What.sha256))
            throw TapeError("its data differs from what was backed up");
        if (File)
            File->Commit();
    }

    // Sets the times of the folders that the next entry does not lie in.
    void FinishFolders(const std::string& sNext)
    {
        for (bool bMore = m_pTarget != nullptr; bMore;)
            Attempt("a folder's times", [&] { bMore = m_pTarget->FinishFolder(sNext); });
    }

    // All manifests together must hold what the last one says.
    void CheckTotals()
    {
        const auto Totals = [](const Head& First) {
            return std::tuple(First.files, First.folders, First.links, First.bytes, First.problems);
        };
        const Head& Said = m_Tape.Last.First;
        if (m_Tape.Last.Intact() && !m_bLost && Totals(m_Held) != Totals(Said))
            Report(fmt::format("the version holds {} and {} folders and links, {}, {}, but it was "
                               "closed with {} and {}, {}, {}",
                               CountText(m_Held.files, "file"), m_Held.folders + m_Held.links,
                               SizeText(m_Held.bytes), CountText(m_Held.problems, "problem"),
                               CountText(Said.files, "file"), Said.folders + Said.links, SizeText(Said.bytes),
                               CountText(Said.problems, "problem")));
    }

    Session& m_Session;
    const Volume& m_Tape;
    Command m_enPurpose;
    Patterns m_Wanted;
    TargetFolder* m_pTarget;
    Progress m_Progress;
    Block m_Piece = Block(PIECE_SIZE);
    Head m_Held;          // the totals of what the manifests name
    bool m_bLost = false; // not all manifests could be read
    std::uint64_t m_uiFiles = 0;
    std::uint64_t m_uiOthers = 0;
    std::uint64_t m_uiProblems = 0;
    std::uint64_t m_uiRefused = 0;    // of these: by the disk, and another version would meet the same
    std::uint64_t m_uiNotAsItWas = 0; // by the backup's own record
    std::uint64_t m_uiNotSaved = 0;   // on purpose
};

} // namespace

ExitCode ReadVersion(Session& Current, const Volume& Tape, Command enPurpose,
                     const std::vector<std::string>& Wanted, TargetFolder* pTarget)
{
    const std::string& sComputer = Tape.Facts().First.computer;
    if (pTarget != nullptr && !sComputer.empty() && sComputer != ComputerName())
        Complain("Note: this is a backup of the computer {}, not of this one, {}.", Quoted(sComputer),
                 Quoted(ComputerName()));
    return VersionReader(Current, Tape, enPurpose, Wanted, pTarget).Run();
}
