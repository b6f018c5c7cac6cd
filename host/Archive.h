// An area's data: a pax archive. It is written to the tape a MiB at a time and read block by block, without a file in
// between.
#pragma once

#include "host/TapeFormat.h"

#include <archive.h>
#include <exception>

inline constexpr std::size_t PIECE_SIZE = std::size_t{1} << 20; // bytes that go from step to step at a time

using ArchiveHandle = std::unique_ptr<archive, int (*)(archive*)>;

class ArchiveWriter
{
public:
    explicit ArchiveWriter(Device& Drive);
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    std::uint64_t Size() const; // of the archive so far

    void Begin(const Entry& What);
    void Write(std::span<const std::byte> Data); // of the entry that was begun
    void End();                                  // the entry
    void Close();                                // the archive and its object
    void CutOff();                               // the object, in the middle of an entry

private:
    void Check(la_ssize_t iResult);
    void Take(std::span<const std::byte> Data);
    void Flush(std::size_t uiSize);

    Device& m_Drive;
    Block m_Buffer;
    std::exception_ptr m_pError;
    ArchiveHandle m_Archive;
};

class ArchiveReader
{
public:
    ArchiveReader(Session& Current, std::uint32_t uiObject);

    // Goes to an entry of the manifest. Going forward downloads nothing twice; going back starts the object again.
    // Throws a TapeError if no archive or another entry is there. Read throws one if the archive is damaged.
    void Find(const Entry& What);
    std::size_t Read(std::span<std::byte> Into); // of the entry's data; 0 at its end

    std::uint64_t Reached() const { return m_uiReached; } // how far into the object anything could be read

private:
    std::span<const std::byte> NextPiece();
    void Open();
    void Check(la_ssize_t iResult, la_ssize_t iLeast) const;

    Session& m_Session;
    std::uint32_t m_uiObject;
    bool m_bOpen = false; // false also when the connection broke
    bool m_bEnded = false;
    Block m_Block = Block(ZDV_BLOCK_SIZE);
    std::uint64_t m_uiBlockStart = 0;
    std::size_t m_uiBlockSize = 0;
    std::uint64_t m_uiReached = 0;
    std::uint64_t m_uiNext = 0; // offset of what libarchive gets next
    std::exception_ptr m_pError;
    ArchiveHandle m_Archive;
};
