#include "host/TapeFormat.h"

#include "host/Hash.h"

#include <algorithm>

using Json = nlohmann::json;

// A name that is not listed here is read as the first one.
NLOHMANN_JSON_SERIALIZE_ENUM(Kind, {{Kind::Unknown, "unknown"},
                                    {Kind::File, "file"},
                                    {Kind::Folder, "folder"},
                                    {Kind::FileLink, "link"},
                                    {Kind::FolderLink, "folderlink"}})
NLOHMANN_JSON_SERIALIZE_ENUM(State, {{State::Unknown, "unknown"},
                                     {State::Saved, ""},
                                     {State::Changed, "changed"},
                                     {State::Damaged, "damaged"},
                                     {State::Skipped, "skipped"},
                                     {State::NotHere, "not here"},
                                     {State::Noted, "noted"}})
NLOHMANN_JSON_SERIALIZE_ENUM(RecordKind, {{RecordKind::Unknown, "unknown"},
                                          {RecordKind::Volume, "volume"},
                                          {RecordKind::Area, "area"},
                                          {RecordKind::Manifest, "manifest"},
                                          {RecordKind::Check, "check"}})
NLOHMANN_JSON_SERIALIZE_ENUM(AreaState, {{AreaState::Unknown, "unknown"},
                                         {AreaState::Partial, "partial"},
                                         {AreaState::Complete, "complete"},
                                         {AreaState::Stopped, "stopped"},
                                         {AreaState::Abandoned, "abandoned"}})
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Head, zdv, id, state, computer, program, format, paths,
                                                excludes, area, abandoned, files, folders, links, bytes,
                                                problems)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Entry, path, type, size, mtime, created, attributes, link,
                                                offset, sha256, state, problem)

namespace {

template <typename Line> std::string WithoutDefaults(const Line& What)
{
    static const Json Defaults = Line();
    Json Members = What;
    for (const auto& [sKey, Default] : Defaults.items())
        if (Members[sKey] == Default)
            Members.erase(sKey);
    return Members.dump() + '\n';
}

Json ParseLine(std::string_view sLine)
{
    // No real line is deeper or longer than this. Parsing one would take many times its length of memory.
    constexpr int MAX_DEPTH = 4;
    constexpr std::size_t MAX_LENGTH = std::size_t{1} << 20;
    if (sLine.size() > MAX_LENGTH)
        throw TapeError("is damaged");
    return Json::parse(sLine, [](int iDepth, Json::parse_event_t, const Json&) {
        if (iDepth > MAX_DEPTH)
            throw TapeError("is damaged");
        return true;
    });
}

std::optional<std::string> ReadText(Device& Drive, std::uint32_t uiObject)
{
    Block Buffer(ZDV_BLOCK_SIZE);
    std::string sText;
    uiObject == LAST_OBJECT ? Drive.MoveBeforeLast() : Drive.MoveBefore(uiObject);
    for (ReadResult enResult = ReadResult::Filled; enResult == ReadResult::Filled;)
    {
        CheckInterrupt();
        std::ranges::fill(Buffer, std::byte{0});
        enResult = Drive.Read(Buffer);
        if (enResult == ReadResult::EndOfMedia)
            return std::nullopt;
        const char* const pText = reinterpret_cast<const char*>(Buffer.data());
        const std::size_t uiLength = strnlen(pText, Buffer.size());
        sText.append(pText, uiLength);
        const bool bCut = enResult == ReadResult::Filled && uiLength < Buffer.size();
        if (!sText.starts_with('{') || bCut || sText.size() > MAX_RECORD_SIZE)
            throw TapeError("was not written by this program, or is damaged");
    }
    return sText;
}

bool HasObject(Session& Current, std::uint32_t uiObject)
try
{
    return Current.Patiently([&] {
        Block Buffer(ZDV_BLOCK_SIZE);
        Current.Drive().MoveBefore(uiObject);
        return Current.Drive().Read(Buffer) != ReadResult::EndOfMedia;
    });
}
catch (const UnreadableObject&)
{
    return true;
}

bool Has(const Head& First, RecordKind enKind, const std::string& sId, std::uint32_t uiArea)
{
    return First.zdv == enKind && First.id == sId && First.area == uiArea;
}

} // namespace

std::string ToLine(Head First)
{
    First.program = PROGRAM;
    First.format = FORMAT;
    return WithoutDefaults(First);
}

std::string ToLine(const Entry& What) { return WithoutDefaults(What); }

std::string TextOf(Kind enKind) { return Json(enKind).get<std::string>(); }
std::string TextOf(State enState) { return Json(enState).get<std::string>(); }

void NameProblem(const Entry& What)
{
    Complain("Not saved as it is ({}): {}: {}", TextOf(What.state), Quoted(What.path),
             Printable(What.problem));
}

void Count(Head& Totals, const Entry& What)
{
    if (What.CanBeRestored())
    {
        Totals.files += What.type == Kind::File;
        Totals.folders += What.type == Kind::Folder;
        Totals.links += What.IsLink();
        Totals.bytes += What.size;
    }
    Totals.problems += What.IsProblem();
}

std::string Seal(std::string sLines)
{
    sLines += Json{{"sha256", HashOf(sLines)}}.dump();
    sLines.resize((sLines.size() / ZDV_BLOCK_SIZE + 1) * ZDV_BLOCK_SIZE, '\n');
    return sLines;
}

Record ParseRecord(std::string sSealed)
try
{
    sSealed.erase(sSealed.find_last_not_of('\n') + 1);
    const std::size_t uiLast = sSealed.find_last_of('\n') + 1;
    const Json End = ParseLine(std::string_view(sSealed).substr(uiLast));
    sSealed.erase(uiLast);
    const std::string sSum = HashOf(sSealed);
    if (End.at("sha256") != sSum)
        throw TapeError("is damaged");
    const std::size_t uiFirst = sSealed.find('\n') + 1;
    const Json First = ParseLine(std::string_view(sSealed).substr(0, uiFirst));
    if (const int iFormat = First.value("format", FORMAT); iFormat != FORMAT)
        throw UnknownFormat(fmt::format("the backup has format {}, which this zdv cannot read: use {}",
                                        iFormat, Printable(First.value("program", "a newer one"))));
    sSealed.erase(0, uiFirst);
    return {.First = First.get<Head>(), .sEntries = std::move(sSealed), .sSum = sSum, .sProblem = ""};
}
catch (const Json::exception&)
{
    throw TapeError("is damaged");
}

std::optional<Entry> TakeEntry(std::string_view& sLines)
try
{
    if (sLines.empty())
        return std::nullopt;
    const std::string_view sLine = sLines.substr(0, sLines.find('\n'));
    sLines.remove_prefix(std::min(sLine.size() + 1, sLines.size()));
    return ParseLine(sLine).get<Entry>();
}
catch (const Json::exception&)
{
    throw TapeError("a line of its manifest is damaged");
}

void WriteRecord(Device& Drive, std::string sLines)
{
    const std::string sSealed = Seal(std::move(sLines));
    const auto Blocks = std::as_bytes(std::span(sSealed));
    for (std::size_t uiStart = 0; uiStart < Blocks.size(); uiStart += ZDV_BLOCK_SIZE)
        Drive.Write(Blocks.subspan(uiStart, ZDV_BLOCK_SIZE));
    Drive.WriteFilemark();
}

std::optional<Record> ReadRecord(Session& Current, std::uint32_t uiObject)
{
    try
    {
        auto sText = Current.Patiently([&] { return ReadText(Current.Drive(), uiObject); });
        return sText ? std::optional(ParseRecord(*std::move(sText))) : std::nullopt;
    }
    catch (const UnreadableObject& Error)
    {
        return Record{.sProblem = fmt::format("cannot be read: {}", Error.what()), .bUnreadable = true};
    }
    catch (const TapeError& Error)
    {
        return Record{.sProblem = Error.what()};
    }
}

Volume LookAt(Session& Current)
{
    Volume Found{.Header = ReadRecord(Current, VOLUME_HEADER).value_or(Record()),
                 .Last = ReadRecord(Current, LAST_OBJECT).value_or(Record())};
    Found.Last.sEntries = {};
    const Head& First = Found.Header.First;
    const Head& Last = Found.Last.First;
    if (Found.Header.Intact() && First.zdv != RecordKind::Volume && First.zdv != RecordKind::Check)
        Found.Header = {};
    if (Found.Last.bUnreadable) // it may be a manifest
        Found.sProblem = "its last object " + Found.Last.sProblem;
    if (Found.Last.Intact() && Last.zdv != RecordKind::Manifest)
        Found.Last = {};
    if (!Found.Last.Intact())
        return Found;
    if (Found.Header.Intact() && First.id != Last.id)
        Found.sProblem = "it holds objects of another backup";
    else if (Last.area == 0 || Last.area > MAX_AREAS || !HasObject(Current, ManifestObject(Last.area)) ||
             HasObject(Current, ManifestObject(Last.area) + 1))
        Found.sProblem =
            "objects are missing on the server, or there are too many (docs\\zdv.txt tells in its last "
            "chapter what to do)";
    return Found;
}

// The last manifest lists all abandoned areas. Without it, all manifests that are there are asked.
Areas::Areas(Session& Current, const Volume& Tape)
    : m_Session(Current), m_Tape(Tape), m_sId(Tape.Facts().First.id)
{
    std::optional<Record> Found = Tape.Last;
    for (std::uint32_t uiArea = 0; Found && uiArea <= MAX_AREAS; ++uiArea)
    {
        if (m_sId.empty())
            m_sId = Found->First.id;
        if (Found->First.id == m_sId)
            m_Abandoned.insert(Found->First.abandoned.begin(), Found->First.abandoned.end());
        if (Tape.Last.Intact())
            return;
        Found = ReadRecord(Current, ManifestObject(uiArea + 1));
    }
}

bool HasHeader(Session& Current, const Area& Of)
{
    const std::optional<Record> Found = ReadRecord(Current, HeaderObject(Of.uiNumber));
    return Found && Has(Found->First, RecordKind::Area, Of.Manifest.First.id, Of.uiNumber);
}

std::optional<Area> Areas::Next()
{
    const bool bEndKnown = m_Tape.Last.Intact();
    const std::uint32_t uiEnd = bEndKnown ? std::min(m_Tape.Last.First.area, MAX_AREAS) : MAX_AREAS;
    while (++m_uiArea <= uiEnd)
    {
        if (m_Abandoned.contains(m_uiArea))
            continue;
        std::optional<Record> Found = ReadRecord(m_Session, ManifestObject(m_uiArea));
        if (!Found && !bEndKnown)
            return std::nullopt; // the tape ends
        Record Manifest = std::move(Found).value_or(Record());
        if (Manifest.Intact() && !Has(Manifest.First, RecordKind::Manifest, m_sId, m_uiArea))
            Manifest = {.sProblem = "is that of another area or backup"};
        if (Manifest.Intact() && m_Tape.JustWritten() && Manifest.sSum != m_Tape.Sums.at(m_uiArea))
            Manifest = {.sProblem = "is not what was just written"};
        if (Manifest.First.state != AreaState::Abandoned)
            return Area{m_uiArea, std::move(Manifest)};
    }
    return std::nullopt;
}
