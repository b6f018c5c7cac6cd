// What zdv writes to a tape. Everything on it is standard: JSON lines and POSIX pax archives.
//
//   object 1               volume header
//   objects 2, 5, 8, ...   area header  |
//   objects 3, 6, 9, ...   area data    | an area: some of the files, in the order of the tree
//   objects 4, 7, 10, ...  area trailer |
//
// Area data is a pax archive with UTF-8 names, cut between files so that an area has some GiB (a larger file
// is an area of its own), and filled up to whole blocks as tar does. It is written as the disk is read.
//
// Headers and trailers are records: JSON lines in UTF-8. The first line says in "zdv" what it is and in "id" of
// which backup; the last line holds the SHA-256 of all lines before it; line feeds fill the last block.
//   "volume"    format, program, computer, started (local time), zone (minutes east of UTC), paths, and what the
//               backup is expected to hold: files, bytes, areas
//   "area"      area (its number), paths
//   "manifest"  the trailer: area, state, data (bytes of the area data); computer, files, folders, links, bytes,
//               problems: of the backup so far; abandoned: the areas that do not count. Then a line for each
//               entry, in the order of the archive.
//   "check"     in object 1, alone in its version: a test of the server
//
// An area counts when its manifest is there; a backup is complete when the last one's state says "complete"
// ("partial": more areas follow, "stopped": the user wanted no more). An area that a broken connection has
// cut off is closed, since the numbering needs it, by a manifest "abandoned" without entries; what it held is
// written again in the next one.
#pragma once

#include "host/Server.h"

#include <nlohmann/json.hpp>

using Json = nlohmann::json;

inline constexpr std::uint32_t VOLUME_HEADER = 1;
inline constexpr std::uint32_t LAST_OBJECT = 0;
inline constexpr std::uint32_t MAX_AREAS = 332; // an object's number has three digits

constexpr std::uint32_t HeaderObject(std::uint32_t uiArea) { return 3 * uiArea - 1; }
constexpr std::uint32_t TrailerObject(std::uint32_t uiArea) { return 3 * uiArea + 1; }
constexpr std::uint32_t AreaOf(std::uint32_t uiObject) { return (uiObject + 1) / 3; }
constexpr bool IsHeader(std::uint32_t uiObject) { return uiObject % 3 == 2; }

inline constexpr std::int64_t TICKS_PER_SECOND = 10'000'000;
inline constexpr std::uint32_t SAVED_ATTRIBUTES =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// A line of a manifest: its members have the names that they have there.
struct Entry
{
    std::string path{};           // with "/", from the parent of what was named
    std::string type{};           // "file", "folder", "link" or "folderlink", a link to a folder
    std::uint64_t size = 0;       // of a file
    std::int64_t mtime = 0;       // 100 ns since 1970, as the next
    std::int64_t created = 0;     //
    std::uint32_t attributes = 0; // Windows' numbers, those of SAVED_ATTRIBUTES
    std::string link{};           // where a link leads, with "/"
    std::uint64_t offset = 0;     // of its header in the archive
    std::string sha256{};         // of a file
    std::string state{};   // "" saved; "changed" while it was read, "damaged": not read to its end, "skipped"
    std::string problem{}; // the reason

    bool IsLink() const { return type == "link" || type == "folderlink"; }
    // As far as an archive tells: it keeps a creation only if that came before the last change.
    bool SameThing(const Entry& Other) const
    {
        return std::tie(path, type, size, mtime, attributes, link, offset) ==
               std::tie(Other.path, Other.type, Other.size, Other.mtime, Other.attributes, Other.link,
                        Other.offset);
    }
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Entry, path, type, size, mtime, created, attributes, link,
                                                offset, sha256, state, problem)

struct Record
{
    Json Head{};
    std::string sLines{}; // those between the first and the last
    bool bIntact = false;

    std::string Text(const char* pKey) const;                            // "" when there is none
    std::uint64_t Number(const char* pKey) const;                        // 0 when there is none
    void ForEach(const std::function<void(const Entry&)>& action) const; // lines that are none are left out
};

void WriteRecord(Device& Drive, std::string sLines); // with its last line, as the next object

// The record in an object; nothing when the tape ends before it. Throws a TapeError when it is none.
std::optional<Record> ReadRecord(Session& Server, std::uint32_t uiObject);

bool ObjectExists(Session& Server, std::uint32_t uiObject);

// The two ends of a tape. What cannot be read is empty.
struct Volume
{
    Record Header{};
    std::string sProblem{}; // what is wrong with the header
    Record Last{};          // the manifest that ends the tape

    bool Complete() const { return Last.Text("state") == "complete"; }
};
Volume LookAt(Session& Server);

struct Area
{
    std::uint32_t uiNumber = 0;
    std::uint32_t uiDataPosition = 0; // in the list of the objects that are there
    Record Manifest{};
    std::string sProblem{}; // why the manifest is not there or not to be trusted
};

// The areas that count, in their order.
std::vector<Area> FindAreas(Session& Server, const Volume& Tape);
