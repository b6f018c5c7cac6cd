// Reads the objects of one backup in their order and refuses whatever is not as it was written.
#pragma once

#include "host/Device.h"
#include "host/TapeFormat.h"

#include <functional>

class TapeReader
{
public:
    using Sink = std::function<void(std::span<const std::byte>)>;

    explicit TapeReader(Device& Drive) : m_Device(Drive) {}

    // From the beginning of the medium. The records that follow must be of the same backup.
    VolumeHeader ReadVolumeHeader();

    // Files may be read in part or left out, but only in ascending order.
    AreaHeader ReadAreaHeader(std::uint32_t uiFile);
    Sha256Digest ReadData(const AreaHeader& Header, const Sink& sink); // the trailer has confirmed it

    void CheckEnd(); // nothing follows the last file

private:
    Block ReadRecord(std::uint32_t uiObject);
    template <typename Record, typename Decoder> Record ReadRecord(std::uint32_t uiObject, Decoder decode);
    template <typename Record> void CheckOrigin(const Record& Read, std::uint32_t uiFile) const;
    Sha256Digest ReadDataObject(const AreaHeader& Header, const Sink& sink);
    void MoveBefore(std::uint32_t uiObject);

    Device& m_Device;
    VolumeHeader m_Volume{};
    std::uint32_t m_uiObject = 0; // the last one that was begun
};
