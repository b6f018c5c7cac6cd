#include "host/TapeFormat.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::string_view MAGIC = "ZDV-TAPE";
constexpr std::uint32_t FORMAT = 1;

enum class Kind : std::uint32_t
{
    VolumeHeader = 1,
    AreaHeader = 2,
    Trailer = 3
};

namespace Offset {
constexpr std::size_t FORMAT = 8;
constexpr std::size_t KIND = 12;
constexpr std::size_t ID = 16;
constexpr std::size_t NUMBER = 32;
constexpr std::size_t SIZE = 40;
constexpr std::size_t MODIFIED = 48;
constexpr std::size_t FILE_DIGEST = 48;
constexpr std::size_t NAME_LENGTH = 56;
constexpr std::size_t NAME = 60;
constexpr std::size_t RECORD_DIGEST = ZDV_BLOCK_SIZE - sizeof(Sha256Digest);
} // namespace Offset

static_assert(Offset::NAME + MAX_NAME_LENGTH == Offset::RECORD_DIGEST);

template <typename Value> void Put(Block& Record, std::size_t uiOffset, const Value& value)
{
    std::memcpy(Record.data() + uiOffset, &value, sizeof(value));
}

template <typename Value> Value Get(std::span<const std::byte> Record, std::size_t uiOffset)
{
    Value value{};
    std::memcpy(&value, Record.data() + uiOffset, sizeof(value));
    return value;
}

Block NewRecord(Kind enKind, const BackupId& Id, std::uint32_t uiNumber, std::uint64_t uiSize)
{
    Block Record(ZDV_BLOCK_SIZE);
    std::memcpy(Record.data(), MAGIC.data(), MAGIC.size());
    Put(Record, Offset::FORMAT, FORMAT);
    Put(Record, Offset::KIND, enKind);
    Put(Record, Offset::ID, Id);
    Put(Record, Offset::NUMBER, uiNumber);
    Put(Record, Offset::SIZE, uiSize);
    return Record;
}

Sha256Digest DigestOf(std::span<const std::byte> Record)
{
    return Sha256Of(Record.first(Offset::RECORD_DIGEST));
}

Block Sealed(Block Record)
{
    Put(Record, Offset::RECORD_DIGEST, DigestOf(Record));
    return Record;
}

void CheckRecord(std::span<const std::byte> Record, Kind enKind)
{
    if (std::memcmp(Record.data(), MAGIC.data(), MAGIC.size()) != 0)
        throw TapeError("was not written by this program");
    if (Get<std::uint32_t>(Record, Offset::FORMAT) != FORMAT)
        throw TapeError("has a format that this program does not know");
    if (Get<Sha256Digest>(Record, Offset::RECORD_DIGEST) != DigestOf(Record))
        throw TapeError("is damaged: its checksum does not match");
    if (Get<Kind>(Record, Offset::KIND) != enKind)
        throw TapeError("is another kind of record than its number says");
}

} // namespace

Block Encode(const VolumeHeader& Header)
{
    return Sealed(NewRecord(Kind::VolumeHeader, Header.Id, Header.uiFiles, Header.uiBytes));
}

Block Encode(const AreaHeader& Header)
{
    if (Header.sName.size() > MAX_NAME_LENGTH)
        throw std::length_error("the name \"" + Header.sName + "\" is too long");
    Block Record = NewRecord(Kind::AreaHeader, Header.Id, Header.uiNumber, Header.uiSize);
    Put(Record, Offset::MODIFIED, Header.uiModified);
    Put(Record, Offset::NAME_LENGTH, static_cast<std::uint32_t>(Header.sName.size()));
    std::memcpy(Record.data() + Offset::NAME, Header.sName.data(), Header.sName.size());
    return Sealed(std::move(Record));
}

Block Encode(const Trailer& End)
{
    Block Record = NewRecord(Kind::Trailer, End.Id, End.uiNumber, End.uiSize);
    Put(Record, Offset::FILE_DIGEST, End.Digest);
    return Sealed(std::move(Record));
}

VolumeHeader DecodeVolumeHeader(std::span<const std::byte> Record)
{
    CheckRecord(Record, Kind::VolumeHeader);
    const auto uiFiles = Get<std::uint32_t>(Record, Offset::NUMBER);
    if (uiFiles > MAX_FILES)
        throw TapeError("announces more files than a backup holds");
    return {.Id = Get<BackupId>(Record, Offset::ID),
            .uiFiles = uiFiles,
            .uiBytes = Get<std::uint64_t>(Record, Offset::SIZE)};
}

AreaHeader DecodeAreaHeader(std::span<const std::byte> Record)
{
    CheckRecord(Record, Kind::AreaHeader);
    const auto uiLength = Get<std::uint32_t>(Record, Offset::NAME_LENGTH);
    if (uiLength > MAX_NAME_LENGTH)
        throw TapeError("announces a name that is longer than itself");
    const auto* pName = reinterpret_cast<const char*>(Record.data() + Offset::NAME);
    return {.Id = Get<BackupId>(Record, Offset::ID),
            .uiNumber = Get<std::uint32_t>(Record, Offset::NUMBER),
            .uiSize = Get<std::uint64_t>(Record, Offset::SIZE),
            .uiModified = Get<std::uint64_t>(Record, Offset::MODIFIED),
            .sName = std::string(pName, uiLength)};
}

Trailer DecodeTrailer(std::span<const std::byte> Record)
{
    CheckRecord(Record, Kind::Trailer);
    return {.Id = Get<BackupId>(Record, Offset::ID),
            .uiNumber = Get<std::uint32_t>(Record, Offset::NUMBER),
            .uiSize = Get<std::uint64_t>(Record, Offset::SIZE),
            .Digest = Get<Sha256Digest>(Record, Offset::FILE_DIGEST)};
}
