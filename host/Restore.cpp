#include "host/Restore.h"

#include "host/Archive.h"
#include "host/Hash.h"
#include "host/Names.h"

namespace {

constexpr const char* LOST_AREA = "its manifest, which names its files, is missing or damaged";

// No pattern means everything.
bool IsNamed(Patterns& Wanted, const Entry& What) { return Wanted.Empty() || Wanted.Match(What.path); }

class Restore
{
public:
    Restore(Session& Server, const Volume& Tape, const std::vector<std::string>& Given, TargetFolder* pTarget)
        : m_Server(Server), m_Tape(Tape), m_Wanted(Given), m_pTarget(pTarget)
    {
    }

    ExitCode Run()
    {
        if (!m_Tape.Header.Intact())
            Report("the volume header", m_Tape.Header.sProblem);
        if (!m_Tape.Complete())
            Report("this version", "it is INCOMPLETE, only what is there can be read");
        const std::map<std::uint32_t, Area> Areas = FindAreas(m_Server, m_Tape);
        std::uint64_t uiTotal = 0;
        for (const auto& [uiArea, From] : Areas)
            for (const Entry& What : From.Manifest.Entries)
                uiTotal += IsWanted(What) ? What.size : 0;
        m_Progress.SetTotal(uiTotal);
        for (const auto& [uiArea, From] : Areas)
            if (From.Manifest.Intact())
                ReadArea(From);
            else
                Report(fmt::format("area {}", uiArea), LOST_AREA);
        for (bool bMore = m_pTarget != nullptr; bMore;)
            Attempt("a folder's times", [&] { bMore = m_pTarget->FinishFolder(); });
        if (!m_Wanted.Empty() && m_uiFiles + m_uiOthers + m_uiProblems == 0)
            Report("anything", "no name in this backup matches");
        Say("{} {} and {} folders and links, {}{}.", m_pTarget == nullptr ? "Compared" : "Restored",
            CountText(m_uiFiles, "file"), m_uiOthers, m_Progress.Summary(),
            m_uiProblems == 0 ? "" : "; " + CountText(m_uiProblems, "problem"));
        return m_uiProblems == 0 ? ExitCode::Done : ExitCode::DataDiffers;
    }

private:
    bool IsWanted(const Entry& What) { return What.state != State::Skipped && IsNamed(m_Wanted, What); }

    void Report(const std::string& sWhat, const std::string& sProblem)
    {
        Complain("{}: {}: {}", m_pTarget != nullptr ? "Not restored" : "Differs", sWhat, Printable(sProblem));
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
            Report(sWhat, Error.what());
        }
    }

    void ReadArea(const Area& From)
    {
        ArchiveReader Archive(m_Server, From);
        std::string sLost; // why nothing further can be read
        for (const Entry& What : From.Manifest.Entries)
            ReadEntry(Archive, What, sLost);
    }

    void ReadEntry(ArchiveReader& Archive, const Entry& What, std::string& sLost)
    {
        if (!IsWanted(What))
            return;
        m_Progress.Begin(What.path);
        const std::uint64_t uiBefore = m_Progress.Bytes();
        const auto Read = [&] {
            m_Progress.GoBack(uiBefore);
            Archive.Find(What);
            if (m_pTarget != nullptr && What.state == State::Damaged)
                throw TapeError("when it was backed up, " + What.problem);
            if (What.type == Kind::File)
                ReadFile(Archive, What);
            else if (m_pTarget != nullptr)
                What.IsLink() ? m_pTarget->CreateLink(What) : m_pTarget->CreateFolder(What);
            ++(What.type == Kind::File ? m_uiFiles : m_uiOthers);
        };
        Attempt(Quoted(What.path), [&] {
            if (!sLost.empty())
                throw TapeError(sLost);
            try
            {
                m_Server.Patiently(Read);
            }
            catch (const UnreadableObject& Error)
            {
                sLost = Error.what();
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

    Session& m_Server;
    const Volume& m_Tape;
    Patterns m_Wanted;
    TargetFolder* m_pTarget;
    Progress m_Progress;
    Block m_Piece = Block(PIECE_SIZE);
    std::uint64_t m_uiFiles = 0;
    std::uint64_t m_uiOthers = 0;
    std::uint64_t m_uiProblems = 0;
};

void ShowEntry(const Entry& What)
{
    const bool bSkipped = What.state == State::Skipped;
    const std::string sSize = bSkipped                  ? ""
                              : What.type == Kind::File ? std::to_string(What.size)
                                                        : TextOf(What.type);
    std::string sLine =
        fmt::format("{:<19} {:>16}  {}", bSkipped ? "not saved" : VersionText(What.mtime / TICKS_PER_SECOND),
                    sSize, What.path + (What.link.empty() ? "" : " -> " + What.link));
    if (What.state != State::Saved)
        sLine += fmt::format("  ({}: {})", TextOf(What.state), What.problem);
    Say("{}", Printable(sLine));
}

} // namespace

ExitCode ReadVersion(Session& Server, const Volume& Tape, const std::vector<std::string>& Given,
                     TargetFolder* pTarget)
{
    return Restore(Server, Tape, Given, pTarget).Run();
}

ExitCode ShowList(Session& Server, const Volume& Tape, const std::vector<std::string>& Given)
{
    ExitCode enCode = ExitCode::Done;
    Patterns Wanted(Given);
    bool bAny = Wanted.Empty();
    for (const auto& [uiArea, From] : FindAreas(Server, Tape))
    {
        if (!From.Manifest.Intact())
        {
            Complain("Not listed: area {}: {}", uiArea, LOST_AREA);
            enCode = ExitCode::DataDiffers;
        }
        for (const Entry& What : From.Manifest.Entries)
        {
            if (!IsNamed(Wanted, What))
                continue;
            bAny = true;
            ShowEntry(What);
        }
    }
    if (!bAny)
        Complain("No name in this backup matches.");
    return bAny ? enCode : ExitCode::DataDiffers;
}
