#include "host/TapeReader.h"

#include <algorithm>

namespace {

std::string ObjectText(std::uint32_t uiObject) { return "object " + std::to_string(uiObject); }

// The module does not tell how much came before a filemark, so a buffer is marked to see it.
constexpr std::byte MARK{0xA5};

bool IsMarked(std::span<const std::byte> Buffer)
{
    return std::ranges::all_of(Buffer, [](std::byte b) { return b == MARK; });
}

} // namespace

// Afterwards the next read begins the object.
void TapeReader::MoveBefore(std::uint32_t uiObject)
{
    m_Device.LeaveObject();
    if (uiObject > m_uiObject + 1)
        m_Device.Skip(uiObject - m_uiObject - 1);
    m_uiObject = uiObject;
}

// Asking for one block more than a record has finds the filemark, and a record that is too long, in the same
// call. One that is too short lacks its checksum.
Block TapeReader::ReadRecord(std::uint32_t uiObject)
{
    MoveBefore(uiObject);
    Block Buffer(std::size_t{2} * ZDV_BLOCK_SIZE, MARK);
    const ReadResult enResult = m_Device.Read(Buffer);
    if (enResult == ReadResult::EndOfMedia)
        throw TapeError("the backup is not complete: it ends before " + ObjectText(uiObject));
    if (enResult == ReadResult::Filled || !IsMarked(std::span(Buffer).subspan(ZDV_BLOCK_SIZE)))
        throw TapeError(ObjectText(uiObject) + " is longer than a record");
    Buffer.resize(ZDV_BLOCK_SIZE);
    return Buffer;
}

template <typename Record, typename Decoder>
Record TapeReader::ReadRecord(std::uint32_t uiObject, Decoder decode)
{
    const Block Content = ReadRecord(uiObject);
    try
    {
        return decode(Content);
    }
    catch (const TapeError& Error)
    {
        throw TapeError(ObjectText(uiObject) + " " + Error.what());
    }
}

template <typename Record> void TapeReader::CheckOrigin(const Record& Read, std::uint32_t uiFile) const
{
    if (Read.Id != m_Volume.Id)
        throw TapeError(ObjectText(m_uiObject) + " belongs to another backup");
    if (Read.uiNumber != uiFile)
        throw TapeError(ObjectText(m_uiObject) + " belongs to file " + std::to_string(Read.uiNumber));
}

VolumeHeader TapeReader::ReadVolumeHeader()
{
    m_uiObject = 0;
    m_Volume = ReadRecord<VolumeHeader>(VOLUME_HEADER_OBJECT, DecodeVolumeHeader);
    return m_Volume;
}

AreaHeader TapeReader::ReadAreaHeader(std::uint32_t uiFile)
{
    const AreaHeader Header = ReadRecord<AreaHeader>(AreaHeaderObject(uiFile), DecodeAreaHeader);
    CheckOrigin(Header, uiFile);
    return Header;
}

Sha256Digest TapeReader::ReadDataObject(const AreaHeader& Header, const Sink& sink)
{
    MoveBefore(DataObject(Header.uiNumber));
    Sha256 Hash;
    Block Buffer(REQUEST_SIZE);
    std::uint64_t uiLeft = Header.uiSize;
    for (std::uint64_t uiBlocks = DataBlocks(Header.uiSize); uiBlocks != 0;)
    {
        const std::uint64_t uiRequest = std::min<std::uint64_t>(uiBlocks, REQUEST_SIZE / ZDV_BLOCK_SIZE);
        const std::span<std::byte> Request = std::span(Buffer).first(uiRequest * ZDV_BLOCK_SIZE);
        if (m_Device.Read(Request) != ReadResult::Filled)
            throw TapeError("the data ends early, after " + std::to_string(Header.uiSize - uiLeft) + " of " +
                            std::to_string(Header.uiSize) + " bytes");
        const std::span<std::byte> Data = Request.first(std::min<std::uint64_t>(uiLeft, Request.size()));
        Hash.Add(Data);
        sink(Data);
        uiLeft -= Data.size();
        uiBlocks -= uiRequest;
    }
    Block Behind(ZDV_BLOCK_SIZE, MARK);
    if (m_Device.Read(Behind) != ReadResult::Filemark || !IsMarked(Behind))
        throw TapeError("there is more data than the " + std::to_string(Header.uiSize) + " bytes announced");
    return Hash.Finish();
}

Sha256Digest TapeReader::ReadData(const AreaHeader& Header, const Sink& sink)
{
    const Sha256Digest Digest = ReadDataObject(Header, sink);
    const Trailer End = ReadRecord<Trailer>(TrailerObject(Header.uiNumber), DecodeTrailer);
    CheckOrigin(End, Header.uiNumber);
    if (End.uiSize != Header.uiSize || End.Digest != Digest)
        throw TapeError("the data differs from what was backed up: its SHA-256 does not match");
    return Digest;
}

void TapeReader::CheckEnd()
{
    const std::uint32_t uiBehind = TrailerObject(m_Volume.uiFiles) + 1;
    MoveBefore(uiBehind);
    Block Buffer(ZDV_BLOCK_SIZE);
    if (m_Device.Read(Buffer) != ReadResult::EndOfMedia)
        throw TapeError(ObjectText(uiBehind) + " is more than the volume header announces");
}
