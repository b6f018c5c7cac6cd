#include "host/Tape.h"

#include "host/Hash.h"

#include <algorithm>
#include <set>

namespace {

constexpr std::size_t MAX_RECORD_SIZE = std::size_t{1} << 30;
constexpr std::size_t SHIFTED_READ_SIZE = std::size_t{64} << 20;

std::string HashOf(std::string_view sText)
{
    Sha256 Hash;
    Hash.Add(std::as_bytes(std::span(sText)));
    return Hash.Finish();
}

std::string ObjectText(std::uint32_t uiObject)
{
    return uiObject == LAST_OBJECT ? "the last object" : "object " + std::to_string(uiObject);
}

// The text of an object up to its first zero byte. A header's place is read with one call, which must then be
// large enough for whatever lies there when an object before it is missing.
std::optional<std::string> ReadText(Device& Drive, std::uint32_t uiObject)
{
    Block Buffer(IsHeader(uiObject) ? SHIFTED_READ_SIZE : ZDV_BLOCK_SIZE);
    std::string sText;
    if (uiObject == LAST_OBJECT)
        Drive.MoveBeforeLast();
    else
        Drive.MoveBefore(uiObject);
    for (ReadResult enResult = ReadResult::Filled; enResult == ReadResult::Filled;)
    {
        std::ranges::fill(Buffer, std::byte{0});
        enResult = Drive.Read(Buffer);
        if (enResult == ReadResult::EndOfMedia)
            return std::nullopt;
        const char* const pText = reinterpret_cast<const char*>(Buffer.data());
        sText.append(pText, strnlen(pText, Buffer.size()));
        if (!sText.starts_with('{') || sText.size() > MAX_RECORD_SIZE)
            throw TapeError(ObjectText(uiObject) + " was not written by this program, or is damaged");
    }
    return sText;
}

Record Parse(std::string sText, std::uint32_t uiObject)
{
    sText.erase(sText.find_last_not_of('\n') + 1);
    const std::size_t uiFirstEnd = std::min(sText.find('\n'), sText.size());
    const std::size_t uiLast = sText.find_last_of('\n') + 1;
    Record Parsed;
    Parsed.Head = Json::parse(sText.substr(0, uiFirstEnd), nullptr, false);
    if (!Parsed.Head.is_object())
        throw TapeError(ObjectText(uiObject) + " is damaged");
    const Json End = Json::parse(sText.substr(uiLast), nullptr, false);
    Parsed.bIntact =
        End.is_object() && End.value("sha256", Json()) == HashOf(std::string_view(sText).substr(0, uiLast));
    sText.erase(Parsed.bIntact ? uiLast : sText.size());
    sText.erase(0, uiFirstEnd + 1);
    Parsed.sLines = std::move(sText);
    return Parsed;
}

// Which object a record was written as; the objects before it may not all be there.
std::uint32_t WrittenAs(const Record& Found)
{
    const auto uiArea = static_cast<std::uint32_t>(std::min<std::uint64_t>(Found.Number("area"), MAX_AREAS));
    if (Found.Text("zdv") == "manifest")
        return TrailerObject(uiArea);
    return Found.Text("zdv") == "area" ? HeaderObject(uiArea) : VOLUME_HEADER;
}

// Looks for an area's manifest where it should be, uiMissing objects earlier; meeting a later record instead, or
// the end before the last area, it learns how many are missing. False at the end of the tape.
bool FindManifest(Session& Server, Area& Found, std::uint32_t& uiMissing, std::uint64_t uiLastArea)
{
    const std::uint32_t uiObject = TrailerObject(Found.uiNumber);
    Found.sProblem = "its manifest is missing";
    for (bool bAgain = false;; bAgain = true)
    {
        const std::uint32_t uiPosition = uiObject - uiMissing;
        Found.uiDataPosition = uiPosition - 1;
        try
        {
            std::optional<Record> Read = ReadRecord(Server, uiPosition);
            if (!Read && (Found.uiNumber > uiLastArea || ++uiMissing == uiObject))
                return false;
            if (!Read)
                continue;
            const std::uint32_t uiWrittenAs = WrittenAs(*Read);
            if (uiWrittenAs == uiObject)
            {
                Found.Manifest = std::move(*Read);
                Found.sProblem = Found.Manifest.bIntact ? "" : "its manifest is damaged";
                return true;
            }
            if (bAgain || uiWrittenAs < uiObject || uiWrittenAs >= uiPosition + uiObject)
                return true;
            uiMissing = uiWrittenAs - uiPosition;
        }
        catch (const TapeError& Error)
        {
            if (bAgain)
                Found.uiDataPosition = uiPosition; // what lies just before the next area's header
            else
                Found.sProblem = Error.what();
            return true;
        }
    }
}

} // namespace

std::string Record::Text(const char* pKey) const
{
    const Json Value = Head.is_object() ? Head.value(pKey, Json()) : Json();
    return Value.is_string() ? Value.get<std::string>() : "";
}

std::uint64_t Record::Number(const char* pKey) const
{
    const Json Value = Head.is_object() ? Head.value(pKey, Json()) : Json();
    return Value.is_number_unsigned() ? Value.get<std::uint64_t>() : 0;
}

void Record::ForEach(const std::function<void(const Entry&)>& action) const
{
    for (std::size_t uiStart = 0, uiEnd = 0; uiStart < sLines.size(); uiStart = uiEnd + 1)
    {
        uiEnd = std::min(sLines.find('\n', uiStart), sLines.size());
        std::optional<Entry> Line;
        try
        {
            Line = Json::parse(std::string_view(sLines).substr(uiStart, uiEnd - uiStart)).get<Entry>();
        }
        catch (
            const Json::exception&) // a damaged record, or one that lies: the lines behind are still of use
        {
            continue;
        }
        action(*Line);
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
    const std::optional<std::string> sText =
        Server.Patiently([&] { return ReadText(Server.Drive(), uiObject); });
    return sText ? std::optional(Parse(*sText, uiObject)) : std::nullopt;
}

bool ObjectExists(Session& Server, std::uint32_t uiObject)
{
    try
    {
        return Server.Patiently([&] {
            Block Buffer(ZDV_BLOCK_SIZE);
            Server.Drive().MoveBefore(uiObject);
            return Server.Drive().Read(Buffer) != ReadResult::EndOfMedia;
        });
    }
    catch (const UnreadableObject&) // what a broken upload leaves may be such: over SFTP an empty file
    {
        return true;
    }
}

Volume LookAt(Session& Server)
{
    const auto Read = [&](std::uint32_t uiObject, std::string& sProblem) {
        try
        {
            std::optional<Record> Found = ReadRecord(Server, uiObject);
            if (Found && Found->bIntact)
                return *std::move(Found);
            sProblem = Found ? "is damaged" : "is missing";
        }
        catch (const TapeError& Error)
        {
            sProblem = Error.what();
        }
        return Record();
    };
    Volume Found;
    Found.Header = Read(VOLUME_HEADER, Found.sProblem);
    if (Found.Header.Text("zdv") != "volume" && Found.Header.Text("zdv") != "check" && Found.sProblem.empty())
    {
        Found.Header = {};
        Found.sProblem = "is missing";
    }
    std::string sNoManifest;
    Found.Last = Read(LAST_OBJECT, sNoManifest);
    if (Found.Last.Text("zdv") != "manifest")
        Found.Last = {};
    return Found;
}

std::vector<Area> FindAreas(Session& Server, const Volume& Tape)
{
    std::vector<Area> Areas;
    std::set<std::uint64_t> Abandoned;
    std::uint32_t uiMissing = 0;
    const std::string sId = (Tape.Last.bIntact ? Tape.Last : Tape.Header).Text("id");
    for (std::uint32_t uiArea = 1; uiArea <= MAX_AREAS; ++uiArea)
    {
        Area Found{.uiNumber = uiArea};
        if (!FindManifest(Server, Found, uiMissing, Tape.Last.Number("area")))
        {
            if (!Tape.Complete() && ObjectExists(Server, Found.uiDataPosition))
                Areas.push_back(std::move(Found));
            break;
        }
        Record& Manifest = Found.Manifest;
        if (Manifest.bIntact && !sId.empty() && Manifest.Text("id") != sId)
        {
            Manifest = {};
            Found.sProblem = "its manifest is that of another backup";
        }
        for (const Json& Number : Manifest.bIntact ? Manifest.Head.value("abandoned", Json::array()) : Json())
            Abandoned.insert(Number.is_number_unsigned() ? Number.get<std::uint64_t>() : 0);
        const bool bLast = Manifest.bIntact && Manifest.Head == Tape.Last.Head;
        Areas.push_back(std::move(Found));
        if (bLast)
            break;
    }
    std::erase_if(Areas, [&](const Area& Found) { return Abandoned.contains(Found.uiNumber); });
    return Areas;
}
