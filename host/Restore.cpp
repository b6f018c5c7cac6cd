#include "host/Restore.h"

#include "host/Hash.h"
#include "host/Names.h"
#include "host/VersionTime.h"

namespace {

constexpr std::size_t PIECE_SIZE = std::size_t{1} << 20;

std::string AreaText(const Area& From) { return "area " + std::to_string(From.uiNumber); }

bool IsNamed(const std::vector<std::string>& Patterns, const Entry& What)
{
    return Patterns.empty() || MatchesAny(Patterns, What.path);
}

} // namespace

Restore::Restore(Session& Server, const Volume& Tape, const std::vector<std::string>& Patterns,
                 TargetFolder* pTarget)
    : m_Server(Server), m_Tape(Tape), m_Patterns(Patterns), m_pTarget(pTarget), m_Piece(PIECE_SIZE)
{
}

bool Restore::IsWanted(const Entry& Line) const
{
    return Line.state != "skipped" && IsNamed(m_Patterns, Line);
}

void Restore::Run()
{
    if (!m_Tape.sProblem.empty())
        Report("the volume header", m_Tape.sProblem);
    if (!m_Tape.Complete())
        Report("this version", "it is INCOMPLETE, only what is there can be read");
    const std::vector<Area> Areas = FindAreas(m_Server, m_Tape);
    std::uint64_t uiTotal = 0;
    for (const Area& From : Areas)
        From.Manifest.ForEach([&](const Entry& Line) { uiTotal += IsWanted(Line) ? Line.size : 0; });
    m_Progress.SetTotal(uiTotal);
    for (const Area& From : Areas)
    {
        if (!From.sProblem.empty())
            Report(AreaText(From), From.sProblem);
        if (!From.Manifest.sLines.empty() || From.Manifest.bIntact)
            ReadListed(From);
        else
            Attempt(AreaText(From), [&] { ReadUnlisted(From); });
    }
    for (bool bMore = m_pTarget != nullptr; bMore;)
        Attempt("a folder's times", [&] { bMore = m_pTarget->FinishFolder(); });
    if (!m_Patterns.empty() && m_uiFiles + m_uiOthers + m_uiProblems == 0)
        Report("anything", "no name in this backup matches");
}

void Restore::Report(const std::string& sWhat, const std::string& sProblem)
{
    Err().WriteLine((m_pTarget != nullptr ? "Not restored: " : "Differs: ") + sWhat + ": " +
                    Printable(sProblem));
    ++m_uiProblems;
}

// One entry's failure must not cost the others; a server that stays away ends it all.
template <typename Step> void Restore::Attempt(const std::string& sWhat, Step step)
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

void Restore::ReadListed(const Area& From)
{
    ArchiveReader Archive(m_Server, From);
    bool bInPlace = false; // the archive stands before this entry
    std::string sLost;     // why nothing further can be read
    From.Manifest.ForEach([&](const Entry& Line) {
        bInPlace = bInPlace && (IsWanted(Line) || Line.state == "skipped");
        if (!IsWanted(Line))
            return;
        m_Progress.Begin(Line.path);
        Attempt(Quoted(Line.path), [&] {
            if (!sLost.empty())
                throw TapeError(sLost);
            const std::uint64_t uiBefore = m_Progress.Bytes();
            try
            {
                m_Server.Patiently([&] {
                    m_Progress.GoBack(uiBefore);
                    if (!std::exchange(bInPlace, false))
                        Archive.Seek(Line.offset);
                    const std::optional<Entry> Found = Archive.Next();
                    if (!Found || !Found->SameThing(Line))
                        throw TapeError("the archive does not hold it as its manifest says");
                    if (m_pTarget != nullptr && Line.state == "damaged")
                        throw TapeError("when it was backed up, " + Line.problem);
                    ReadEntry(Archive, Line);
                });
            }
            catch (const UnreadableObject& Error)
            {
                sLost = Error.what();
                throw;
            }
            bInPlace = true;
        });
    });
}

// What has no manifest is taken as it is.
void Restore::ReadUnlisted(const Area& From)
{
    ArchiveReader Archive(m_Server, From);
    std::uint64_t uiOffset = 0;
    bool bDone = false; // the entry at this offset
    bool bInPlace = false;
    while (m_Server.Patiently([&] {
        if (!std::exchange(bInPlace, false))
            Archive.Seek(uiOffset);
        const std::optional<Entry> Found = Archive.Next();
        if (!Found)
            return false;
        bDone = bDone && Found->offset == uiOffset;
        uiOffset = Found->offset;
        if (!bDone && IsNamed(m_Patterns, *Found))
            Attempt(Quoted(Found->path), [&] { ReadEntry(Archive, *Found); });
        bDone = bInPlace = true;
        return true;
    }))
    {
    }
}

void Restore::ReadEntry(ArchiveReader& Archive, const Entry& What)
{
    if (What.type.empty())
        throw TapeError("it is of a kind that no backup holds");
    if (What.type == "file")
        ReadFile(Archive, What);
    else if (m_pTarget != nullptr)
        What.IsLink() ? m_pTarget->CreateLink(What) : m_pTarget->CreateFolder(What);
    ++(What.type == "file" ? m_uiFiles : m_uiOthers);
}

void Restore::ReadFile(ArchiveReader& Archive, const Entry& What)
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

std::string Restore::Summary() const
{
    return CountText(m_uiFiles) + " and " + std::to_string(m_uiOthers) + " folders and links, " +
           m_Progress.Summary() +
           (m_uiProblems == 0   ? "."
            : m_uiProblems == 1 ? "; 1 problem."
                                : "; " + std::to_string(m_uiProblems) + " problems.");
}

std::uint64_t ShowList(Session& Server, const Volume& Tape, const std::vector<std::string>& Patterns)
{
    std::uint64_t uiProblems = 0;
    bool bAny = Patterns.empty();
    for (const Area& From : FindAreas(Server, Tape))
    {
        if (!From.sProblem.empty())
            Err().WriteLine("Not to be listed in full: " + AreaText(From) + ": " + Printable(From.sProblem));
        uiProblems += !From.sProblem.empty();
        From.Manifest.ForEach([&](const Entry& What) {
            if (!IsNamed(Patterns, What))
                return;
            bAny = true;
            const bool bSkipped = What.state == "skipped";
            std::string sLine = bSkipped ? "not saved" : VersionText(What.mtime / TICKS_PER_SECOND);
            const std::string sSize = bSkipped              ? ""
                                      : What.type == "file" ? std::to_string(What.size)
                                                            : What.type;
            sLine.resize(std::max<std::size_t>(sLine.size(), 36 - std::min<std::size_t>(sSize.size(), 15)),
                         ' ');
            sLine += sSize + "  " + Printable(What.path + (What.link.empty() ? "" : " -> " + What.link));
            if (!What.state.empty())
                sLine += "  (" + What.state + ": " + Printable(What.problem) + ")";
            Out().WriteLine(sLine);
        });
    }
    if (!bAny)
        Err().WriteLine("No name in this backup matches.");
    return uiProblems + !bAny;
}
