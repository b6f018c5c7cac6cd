// Writes the objects of one backup in their order.
#pragma once

#include "host/Device.h"
#include "host/TapeFormat.h"

#include <algorithm>

class TapeWriter
{
public:
    explicit TapeWriter(Device& Drive) : m_Device(Drive) {}

    // Each is an object of its own: when these return, the server has accepted it.
    template <typename Record> void WriteRecord(const Record& Content) { WriteObject(Encode(Content)); }

    // The next piece of the current file's data. Buffer has room for whole blocks; its first uiUsed bytes are
    // the file's, the rest of their last block is zeroed. An empty piece is one block of zeros.
    void WriteData(std::span<std::byte> Buffer, std::size_t uiUsed)
    {
        const auto uiBlocks = static_cast<std::size_t>(DataBlocks(uiUsed));
        const std::span<std::byte> Blocks = Buffer.first(uiBlocks * ZDV_BLOCK_SIZE);
        std::ranges::fill(Blocks.subspan(uiUsed), std::byte{0});
        m_Device.Write(Blocks);
    }

    void EndData() { m_Device.WriteFilemark(); }

private:
    void WriteObject(std::span<const std::byte> Blocks)
    {
        m_Device.Write(Blocks);
        m_Device.WriteFilemark();
    }

    Device& m_Device;
};
