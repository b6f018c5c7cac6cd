// An area's data: a pax archive straight onto the tape and from it, one megabyte or one block at a time.
#pragma once

#include "host/Tape.h"

#include <exception>

struct archive;
struct archive_entry;

struct FreeArchive
{
    void operator()(archive* pArchive) const;
    void operator()(archive_entry* pEntry) const;
};
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;
using EntryHandle = std::unique_ptr<archive_entry, FreeArchive>;

class ArchiveWriter
{
public:
    explicit ArchiveWriter(Device& Drive);
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;
    ~ArchiveWriter();

    std::uint64_t Size() const; // of the archive so far
    std::uint64_t ObjectSize() const { return m_uiFlushed; }

    void Begin(const Entry& What);
    void Write(std::span<const std::byte> Data); // of the entry that was begun
    void End();                                  // the entry
    void Close();                                // the archive and its object
    void CutOff();                               // the object, in the middle of an entry

private:
    void Check(int iResult);
    void Take(std::span<const std::byte> Data);
    void Flush();

    Device& m_Drive;
    Block m_Buffer;
    std::uint64_t m_uiFlushed = 0;
    std::exception_ptr m_pError;
    ArchiveHandle m_Archive;
    EntryHandle m_Entry;
};

class ArchiveReader
{
public:
    ArchiveReader(Session& Server, const Area& From) : m_Server(Server), m_Area(From) {}

    // The next entry is the one that begins at this offset. From the block that was read last on nothing is
    // downloaded again.
    void Seek(std::uint64_t uiOffset);

    // Both throw a TapeError for what is no archive, after which Seek goes on behind it.
    std::optional<Entry> Next();
    std::size_t Read(std::span<std::byte> Into); // of the entry's data; 0 at its end

private:
    std::span<const std::byte> NextPiece();
    void Open();
    [[noreturn]] void Fail() const;

    Session& m_Server;
    const Area& m_Area;
    bool m_bOpen = false; // and the connection is not broken
    bool m_bEnded = false;
    Block m_Block;
    std::uint64_t m_uiBlockStart = 0;
    std::size_t m_uiBlockSize = 0;
    std::uint64_t m_uiNext = 0; // offset of what libarchive gets next
    std::uint64_t m_uiBase = 0; // offset at which it began
    std::exception_ptr m_pError;
    ArchiveHandle m_Archive;
};
