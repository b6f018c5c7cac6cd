#include "host/Tape.h"

#include "host/Hash.h"

#include <algorithm>
#include <set>
#include <sstream>

using Json = nlohmann::json;

// What has no name here is read as the first one.
NLOHMANN_JSON_SERIALIZE_ENUM(Kind, {{Kind::Unknown, nullptr},
                                    {Kind::File, "file"},
                                    {Kind::Folder, "folder"},
                                    {Kind::FileLink, "link"},
                                    {Kind::FolderLink, "folderlink"}})
NLOHMANN_JSON_SERIALIZE_ENUM(State, {{State::Unknown, nullptr},
                                     {State::Saved, ""},
                                     {State::Changed, "changed"},
                                     {State::Damaged, "damaged"},
                                     {State::Skipped, "skipped"},
                                     {State::NotHere, "not here"},
                                     {State::Noted, "noted"}})
NLOHMANN_JSON_SERIALIZE_ENUM(RecordKind, {{RecordKind::Unknown, nullptr},
                                          {RecordKind::Volume, "volume"},
                                          {RecordKind::Area, "area"},
                                          {RecordKind::Manifest, "manifest"},
                                          {RecordKind::Check, "check"}})
NLOHMANN_JSON_SERIALIZE_ENUM(AreaState, {{AreaState::Unknown, nullptr},
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

constexpr std::size_t SHIFTED_READ_SIZE = std::size_t{64} << 20;

std::string HashOf(std::string_view sText)
{
    Sha256 Hash;
    Hash.Add(std::as_bytes(std::span(sText)));
    return Hash.Finish();
}

template <typename Line> std::string WithoutDefaults(const Line& What)
{
    static const Json Defaults = Line();
    Json Members = What;
    for (const auto& [sKey, Default] : Defaults.items())
        if (Members[sKey] == Default)
            Members.erase(sKey);
    return Members.dump() + '\n';
}

// The text of an object. A header's place is read with one call, which must then be large enough for whatever lies
// there when an object before it is missing.
std::optional<std::string> ReadText(Device& Drive, std::uint32_t uiObject)
{
    Block Buffer(IsHeader(uiObject) ? SHIFTED_READ_SIZE : ZDV_BLOCK_SIZE);
    std::string sText;
    uiObject == LAST_OBJECT ? Drive.MoveBeforeLast() : Drive.MoveBefore(uiObject);
    for (ReadResult enResult = ReadResult::Filled; enResult == ReadResult::Filled;)
    {
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

// Throws a Json::exception, too, for what is damaged.
Record Parse(std::string_view sText)
{
    sText = sText.substr(0, sText.find_last_not_of('\n') + 1);
    const std::size_t uiLast = sText.find_last_of('\n') + 1;
    const Json End = Json::parse(sText.substr(uiLast));
    sText = sText.substr(0, uiLast);
    if (End.at("sha256") != HashOf(sText))
        throw TapeError("is damaged");
    std::istringstream Lines{std::string(sText)};
    std::string sLine;
    std::getline(Lines, sLine);
    Record Read{.First = Json::parse(sLine).get<Head>(), .sProblem = ""};
    while (std::getline(Lines, sLine))
        Read.Entries.push_back(Json::parse(sLine).get<Entry>());
    return Read;
}

// The next area from an object on. Where no object is missing or damaged its manifest is the third one.
std::optional<Area> FindArea(Session& Server, std::uint32_t uiFirst, const std::string& sId)
{
    const auto IsManifest = [&](const std::optional<Record>& Read) {
        return Read && Read->First.zdv == RecordKind::Manifest && (sId.empty() || Read->First.id == sId);
    };
    std::uint32_t uiObject = uiFirst + 2;
    std::optional<Record> Manifest = ReadRecord(Server, uiObject);
    if (!IsManifest(Manifest))
        for (uiObject = uiFirst; (Manifest = ReadRecord(Server, uiObject)) && !IsManifest(Manifest);)
            ++uiObject;
    return Manifest ? std::optional(Area{uiObject - 1, *std::move(Manifest)}) : std::nullopt;
}

} // namespace

std::string ToLine(const Head& First) { return WithoutDefaults(First); }
std::string ToLine(const Entry& What) { return WithoutDefaults(What); }

std::string TextOf(Kind enKind)
{
    return Json(enKind).is_null() ? "unknown" : Json(enKind).get<std::string>();
}
std::string TextOf(State enState)
{
    return Json(enState).is_null() ? "unknown" : Json(enState).get<std::string>();
}

void WriteRecord(Device& Drive, std::string sLines)
{
    sLines += Json{{"sha256", HashOf(sLines)}}.dump();
    sLines.resize((sLines.size() / ZDV_BLOCK_SIZE + 1) * ZDV_BLOCK_SIZE, '\n');
    const auto Blocks = std::as_bytes(std::span(sLines));
    for (std::size_t uiStart = 0; uiStart < Blocks.size(); uiStart += ZDV_BLOCK_SIZE)
        Drive.Write(Blocks.subspan(uiStart, ZDV_BLOCK_SIZE));
    Drive.WriteFilemark();
}

std::optional<Record> ReadRecord(Session& Server, std::uint32_t uiObject)
{
    try
    {
        const auto sText = Server.Patiently([&] { return ReadText(Server.Drive(), uiObject); });
        return sText ? std::optional(Parse(*sText)) : std::nullopt;
    }
    catch (const TapeError& Error)
    {
        return Record{.sProblem = Error.what()};
    }
    catch (const Json::exception&)
    {
        return Record{.sProblem = "is damaged"};
    }
}

Volume LookAt(Session& Server)
{
    Volume Found{.Header = ReadRecord(Server, VOLUME_HEADER).value_or(Record()),
                 .Last = ReadRecord(Server, LAST_OBJECT).value_or(Record())};
    const RecordKind enKind = Found.Header.First.zdv;
    if (Found.Header.Intact() && enKind != RecordKind::Volume && enKind != RecordKind::Check)
        Found.Header = {};
    if (Found.Last.First.zdv != RecordKind::Manifest)
        Found.Last = {};
    return Found;
}

std::map<std::uint32_t, Area> FindAreas(Session& Server, const Volume& Tape)
{
    std::map<std::uint32_t, Area> Areas;
    std::set<std::uint32_t> Abandoned;
    const std::string& sId = (Tape.Last.Intact() ? Tape.Last : Tape.Header).First.id;
    std::uint32_t uiObject = HeaderObject(1);
    while (std::optional<Area> Found = FindArea(Server, uiObject, sId))
    {
        const Head& First = Found->Manifest.First;
        uiObject = Found->uiData + 2;
        Abandoned.insert(First.abandoned.begin(), First.abandoned.end());
        Areas[std::min(First.area, MAX_AREAS)] = *std::move(Found);
    }
    for (std::uint32_t uiArea = Areas.empty() ? 0 : Areas.rbegin()->first; uiArea != 0; --uiArea)
        Areas.try_emplace(uiArea); // of which no manifest is left
    std::erase_if(Areas, [&](const auto& Found) { return Abandoned.contains(Found.first); });
    return Areas;
}
