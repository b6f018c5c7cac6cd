// What zdv writes to a tape. Everything on it is standard: JSON lines and POSIX pax archives.
//
//   object 1               volume header
//   objects 2, 5, 8, ...   area header  |
//   objects 3, 6, 9, ...   area data    | an area: some of the files, in the order of the tree
//   objects 4, 7, 10, ...  area trailer |
//
// Area data is a pax archive with UTF-8 names. It holds some GiB of files, or one larger file, and is filled up to
// whole blocks as tar does. It is written while the disk is read. When the user stops the backup, or much of a file
// cannot be read after its header was written, the area ends in the middle of that entry.
//
// The three objects of an area are found by counting, so one that is lost on the server must be replaced by an empty
// file. Area headers exist because the module takes every third object for one. Only a verify reads them.
//
// Headers and trailers are records: JSON lines in UTF-8. The first line says in "zdv" what it is, in "id" which backup
// it belongs to, and in "format" and "program" how to read it; the last line holds the SHA-256 of all lines before it;
// line feeds fill the last block. Members that are 0 or empty are left out.
//   "volume"    computer, paths, excludes, and what the backup is expected to hold: files, bytes
//   "area"      area (its number)
//   "manifest"  the trailer: area, state; computer, files, folders, links, bytes, problems: of the backup so far;
//               abandoned: the areas that do not count. Then a line for each entry, in the order of the archive.
//   "check"     the only object of a version that was written to test the server
//
// An area counts if it has a manifest. A backup is complete if the last manifest's state is "complete"; "partial" means
// that more areas follow, "stopped" that the user has stopped it. An area that a broken connection has cut off gets a
// manifest "abandoned" without entries, since objects are counted. The next area holds what it was to hold.
#pragma once

#include "host/Entry.h"
#include "host/Session.h"
#include "interface/ModuleVersion.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>

inline constexpr const char* PROGRAM = "zdv " MODULE_VERSION;
inline constexpr int FORMAT = 1; // of all records; one with another number is refused
inline constexpr std::uint32_t VOLUME_HEADER = 1;
inline constexpr std::uint32_t LAST_OBJECT = 0;
inline constexpr std::uint32_t MAX_AREAS = 332; // an object's number has three digits
inline constexpr std::size_t MAX_RECORD_SIZE = std::size_t{512} << 20;
inline constexpr std::size_t MANIFEST_SIZE = std::size_t{32} << 20; // of lines, at which an area is ended

constexpr std::uint32_t HeaderObject(std::uint32_t uiArea) { return 3 * uiArea - 1; }
constexpr std::uint32_t DataObject(std::uint32_t uiArea) { return 3 * uiArea; }
constexpr std::uint32_t ManifestObject(std::uint32_t uiArea) { return 3 * uiArea + 1; }
constexpr std::uint32_t AreaOf(std::uint32_t uiObject) { return (uiObject + 1) / 3; }
constexpr bool IsHeader(std::uint32_t uiObject) { return uiObject % 3 == 2; }

enum class RecordKind
{
    Unknown,
    Volume,
    Area,
    Manifest,
    Check,
};

enum class AreaState
{
    Unknown,
    Partial,
    Complete,
    Stopped,
    Abandoned,
};

// A record's first line. The members are named as in the line.
struct Head
{
    RecordKind zdv = RecordKind::Unknown;
    std::string id{};
    AreaState state = AreaState::Unknown;
    std::string computer{};
    std::string program{};
    int format = 0;
    std::vector<std::string> paths{};
    std::vector<std::string> excludes{};
    std::uint32_t area = 0;
    std::vector<std::uint32_t> abandoned{};
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t links = 0;
    std::uint64_t bytes = 0;
    std::uint64_t problems = 0;
};

// As JSON, with its line feed. What is 0 or empty is left out; a first line gets this program and its format.
std::string ToLine(Head First);
std::string ToLine(const Entry& What);

// As on the tape: "folderlink", "skipped".
std::string TextOf(Kind enKind);
std::string TextOf(State enState);

// Complains that an entry is not saved as it is.
void NameProblem(const Entry& What);

// Adds an entry to the totals of a manifest.
void Count(Head& Totals, const Entry& What);

struct Record
{
    Head First{};
    std::string sEntries{}; // the lines of a manifest
    std::string sSum{};     // SHA-256 of all its lines
    std::string sProblem = "is missing";
    bool bUnreadable = false; // though the server lists the object

    bool Intact() const { return sProblem.empty(); }
};

// Not damaged, but of a format that this program cannot read.
struct UnknownFormat : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

std::string Seal(std::string sLines);    // adds the last line, and fills up to whole blocks
Record ParseRecord(std::string sSealed); // throws a TapeError for damage, and an UnknownFormat

// Takes the next entry from the lines; nothing at their end. Throws a TapeError for a line that is no entry.
std::optional<Entry> TakeEntry(std::string_view& sLines);

void WriteRecord(Device& Drive, std::string sLines); // as the next object

// The record in an object, with its problem if it is damaged; nothing if the tape ends before it. Throws an
// UnknownFormat.
std::optional<Record> ReadRecord(Session& Current, std::uint32_t uiObject);

// The two ends of a tape.
struct Volume
{
    Record Header{};
    Record Last{};          // the manifest that ends the tape, without its entries
    std::string sProblem{}; // objects are missing, unreadable, or those of another backup

    // What the manifests of the areas must have as their sSum. Only the process that has just written them knows.
    std::map<std::uint32_t, std::string> Sums{};

    bool JustWritten() const { return !Sums.empty(); }
    bool Complete() const { return sProblem.empty() && Last.First.state == AreaState::Complete; }
    const Record& Facts() const { return Last.Intact() ? Last : Header; }
};
Volume LookAt(Session& Current);

struct Area
{
    std::uint32_t uiNumber = 0;
    Record Manifest{}; // if not intact, the area is lost
};

bool HasHeader(Session& Current, const Area& Of);

// The areas of a tape that count, one after another, so that memory holds the entries of only one.
class Areas
{
public:
    Areas(Session& Current, const Volume& Tape);

    std::optional<Area> Next();

private:
    Session& m_Session;
    const Volume& m_Tape;
    std::string m_sId; // that all records must have
    std::set<std::uint32_t> m_Abandoned{};
    std::uint32_t m_uiArea = 0;
};
