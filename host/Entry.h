// A file, folder or link, as backups know it.
#pragma once

#include <cstdint>
#include <string>

enum class Kind
{
    Unknown, // of a later program
    File,
    Folder,
    FileLink,
    FolderLink, // a link to a folder
};

// What a backup holds of an entry.
enum class State
{
    Unknown, // of a later program
    Saved,
    Changed, // while it was read: this is what was read
    Damaged, // not read to its end: an archive may hold its beginning
    Skipped, // nothing, though it should have been saved
    NotHere, // nothing: it lies in a cloud
    Noted,   // nothing: it is of a kind that is not saved, and no loss
};

// A line of a manifest. The members are named as in the line.
struct Entry
{
    std::string path{}; // with "/", relative to the parent of what the user named
    Kind type = Kind::Unknown;
    std::uint64_t size = 0;       // of a file
    std::int64_t mtime = 0;       // 100 ns since 1970; 0: not known
    std::int64_t created = 0;     // likewise
    std::uint32_t attributes = 0; // Windows' numbers, those of SAVED_ATTRIBUTES
    std::string link{};           // where a link leads, with "/"
    std::uint64_t offset = 0;     // of its header in the archive
    std::string sha256{};         // of a file
    State state = State::Saved;
    std::string problem{}; // the reason for the state

    bool IsLink() const { return type == Kind::FileLink || type == Kind::FolderLink; }
    bool CanBeRestored() const { return state == State::Saved || state == State::Changed; }
    bool IsProblem() const
    {
        return state == State::Changed || state == State::Damaged || state == State::Skipped;
    }
};

inline constexpr std::int64_t TICKS_PER_SECOND = 10'000'000;
inline constexpr std::uint32_t SAVED_ATTRIBUTES = 1 | 2 | 4; // read-only, hidden, system
