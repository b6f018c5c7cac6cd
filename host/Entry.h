// A file, folder or link, as backups know it.
#pragma once

#include <cstdint>
#include <string>

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
};

inline constexpr std::int64_t TICKS_PER_SECOND = 10'000'000;
inline constexpr std::uint32_t SAVED_ATTRIBUTES = 1 | 2 | 4; // read-only, hidden, system
