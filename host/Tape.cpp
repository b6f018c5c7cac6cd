#include "host/Tape.h"

#include "host/Hash.h"

#include <algorithm>
#include <set>

using Json = nlohmann::json;

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Head, zdv, id, state, computer, program, started, format,
                                                zone, paths, areas, area, abandoned, data, files, folders,
                                                links, bytes, problems)
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

// Nothing for what is damaged, or lies about what it is.
template <typename Line> std::optional<Line> FromLine(std::string_view sText)
{
    try
    {
        return Json::parse(sText).get<Line>();
    }
    catch (const Json::exception&)
    {
        return std::nullopt;
    }
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

Record Parse(std::string sText)
{
    sText.erase(sText.find_last_not_of('\n') + 1);
    const std::size_t uiFirstEnd = std::min(sText.find('\n'), sText.size());
    const std::size_t uiLast = sText.find_last_of('\n') + 1;
    const Json End = Json::parse(sText.substr(uiLast), nullptr, false);
    const std::string sHash = HashOf(std::string_view(sText).substr(0, uiLast));
    const bool bIntact = End.is_object() && End.value("sha256", Json()) == sHash;
    const std::optional<Head> First = FromLine<Head>(sText.substr(0, uiFirstEnd));
    sText.erase(bIntact ? uiLast : sText.size());
    sText.erase(0, uiFirstEnd + 1);
    return {.First = First.value_or(Head{.zdv = "damaged"}), // what is no record at all has no kind
            .sLines = std::move(sText),
            .sProblem = First && bIntact ? "" : "is damaged"};
}

// An area some of whose objects are missing or damaged. Goes on to the object behind it.
Area FindDamagedArea(Session& Server, std::uint32_t& uiObject, std::uint32_t uiExpected)
{
    Area Found{.uiNumber = uiExpected};
    for (bool bBegun = false; std::optional<Record> Read = ReadRecord(Server, uiObject); bBegun = true)
    {
        const Head& First = Read->First;
        if (First.zdv == "area" && bBegun)
            break; // that of the next area
        ++uiObject;
        if (First.area <= MAX_AREAS)
            Found.uiNumber = std::max(Found.uiNumber, First.area);
        if (First.zdv == "manifest" || Found.uiData != 0)
        {
            Found.Manifest = *std::move(Read);
            break;
        }
        if (First.zdv.empty())
            Found.uiData = uiObject - 1;
    }
    return Found;
}

// Goes on to the object behind the area, or stays at the end of the tape.
Area FindArea(Session& Server, std::uint32_t& uiObject, std::uint32_t uiExpected, const std::string& sId)
{
    const auto IsForeign = [&](const Head& First) { return !sId.empty() && First.id != sId; };
    std::optional<Record> Manifest = ReadRecord(Server, uiObject + 2);
    if (Manifest && Manifest->Intact() && Manifest->First.zdv == "manifest" &&
        Manifest->First.area == uiExpected && !IsForeign(Manifest->First))
    {
        uiObject += 3;
        return {.uiNumber = uiExpected, .uiData = uiObject - 2, .Manifest = *std::move(Manifest)};
    }
    Area Found = FindDamagedArea(Server, uiObject, uiExpected);
    if (Found.Manifest.Intact() && IsForeign(Found.Manifest.First))
        Found.Manifest = {.sProblem = "is that of another backup"};
    return Found;
}

} // namespace

std::string ToLine(const Head& First) { return WithoutDefaults(First); }
std::string ToLine(const Entry& What) { return WithoutDefaults(What); }

void Record::ForEach(const std::function<void(const Entry&)>& action) const
{
    for (std::size_t uiStart = 0, uiEnd = 0; uiStart < sLines.size(); uiStart = uiEnd + 1)
    {
        uiEnd = std::min(sLines.find('\n', uiStart), sLines.size());
        if (const auto What = FromLine<Entry>(std::string_view(sLines).substr(uiStart, uiEnd - uiStart)))
            action(*What);
    }
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
        std::optional<std::string> sText =
            Server.Patiently([&] { return ReadText(Server.Drive(), uiObject); });
        return sText ? std::optional(Parse(*std::move(sText))) : std::nullopt;
    }
    catch (const TapeError& Error)
    {
        return Record{.sProblem = Error.what()};
    }
}

Volume LookAt(Session& Server)
{
    Volume Found{.Header = ReadRecord(Server, VOLUME_HEADER).value_or(Record()),
                 .Last = ReadRecord(Server, LAST_OBJECT).value_or(Record())};
    const std::string& sKind = Found.Header.First.zdv;
    if (!Found.Header.Intact())
        Found.Header.First = {};
    else if (sKind != "volume" && sKind != "check")
        Found.Header = {};
    if (!Found.Last.Intact() || Found.Last.First.zdv != "manifest")
        Found.Last = {};
    return Found;
}

std::vector<Area> FindAreas(Session& Server, const Volume& Tape)
{
    std::vector<Area> Areas;
    std::set<std::uint32_t> Abandoned;
    const std::string& sId = (Tape.Last.Intact() ? Tape.Last : Tape.Header).First.id;
    for (std::uint32_t uiObject = HeaderObject(1), uiBehind = uiObject;; uiObject = uiBehind)
    {
        Area Found = FindArea(Server, uiBehind, static_cast<std::uint32_t>(Areas.size()) + 1, sId);
        if (uiBehind == uiObject)
            break;
        if (Found.Manifest.Intact())
            Abandoned.insert(Found.Manifest.First.abandoned.begin(), Found.Manifest.First.abandoned.end());
        while (Areas.size() + 1 < Found.uiNumber) // of which nothing is left
            Areas.push_back({.uiNumber = static_cast<std::uint32_t>(Areas.size()) + 1});
        Areas.push_back(std::move(Found));
    }
    std::erase_if(Areas, [&](const Area& Found) { return Abandoned.contains(Found.uiNumber); });
    return Areas;
}
