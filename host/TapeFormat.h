// What this host writes on its tape.
//
//   object 1             volume header
//   objects 2, 5, 8 ...  area header: begins the area of a file
//   objects 3, 6, 9 ...  the file's data
//   objects 4, 7, 10 ... trailer: ends the area
//
// Headers and trailers are records of one block. The data fills whole blocks, the last one with zeros after
// the file's end; an empty file has one block of zeros, since an object without blocks cannot be written.
//
// A record, all numbers little-endian, all other bytes zero:
//
//   offset  bytes
//   0       8      "ZDV-TAPE"
//   8       4      format: 1
//   12      4      kind: 1 volume header, 2 area header, 3 trailer
//   16      16     the backup's random id, the same in all its records
//   32      4      volume header: number of files; others: number of the file, from 1
//   40      8      volume header: bytes of all files; others: bytes of the file
//   48      8      area header: last modification in 100 ns units since 1601, UTC
//   48      32     trailer: SHA-256 of the file
//   56      4      area header: bytes of the name
//   60      ...    area header: the name in UTF-8, parts joined by "/"
//   65504   32     SHA-256 of the bytes before it
#pragma once

#include "host/Hash.h"
#include "interface/zdv.h"

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

using BackupId = std::array<std::byte, 16>;

struct VolumeHeader
{
    BackupId Id;
    std::uint32_t uiFiles;
    std::uint64_t uiBytes;

    bool operator==(const VolumeHeader&) const = default;
};

struct AreaHeader
{
    BackupId Id;
    std::uint32_t uiNumber;
    std::uint64_t uiSize;
    std::uint64_t uiModified;
    std::string sName;

    bool operator==(const AreaHeader&) const = default;
};

struct Trailer
{
    BackupId Id;
    std::uint32_t uiNumber;
    std::uint64_t uiSize;
    Sha256Digest Digest;

    bool operator==(const Trailer&) const = default;
};

// The bytes on the tape are not what this host writes there.
class TapeError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

using Block = std::vector<std::byte>; // ZDV_BLOCK_SIZE bytes

Block Encode(const VolumeHeader& Header);
Block Encode(const AreaHeader& Header); // std::length_error for a name longer than MAX_NAME_LENGTH
Block Encode(const Trailer& End);

VolumeHeader DecodeVolumeHeader(std::span<const std::byte> Record);
AreaHeader DecodeAreaHeader(std::span<const std::byte> Record);
Trailer DecodeTrailer(std::span<const std::byte> Record);

inline constexpr std::size_t MAX_NAME_LENGTH = 65444; // bytes

inline constexpr std::uint32_t VOLUME_HEADER_OBJECT = 1;
constexpr std::uint32_t AreaHeaderObject(std::uint32_t uiFile) { return 3 * uiFile - 1; }
constexpr std::uint32_t DataObject(std::uint32_t uiFile) { return 3 * uiFile; }
constexpr std::uint32_t TrailerObject(std::uint32_t uiFile) { return 3 * uiFile + 1; }

inline constexpr std::uint32_t LAST_OBJECT = 999;
inline constexpr std::uint32_t MAX_FILES = (LAST_OBJECT - VOLUME_HEADER_OBJECT) / 3;
static_assert(TrailerObject(MAX_FILES) <= LAST_OBJECT);

constexpr std::uint64_t DataBlocks(std::uint64_t uiSize)
{
    if (uiSize == 0)
        return 1;
    return uiSize / ZDV_BLOCK_SIZE + (uiSize % ZDV_BLOCK_SIZE != 0 ? 1 : 0);
}

// Bytes that are read or written in one call.
inline constexpr std::size_t REQUEST_SIZE = std::size_t{16} * ZDV_BLOCK_SIZE;
