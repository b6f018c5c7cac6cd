#pragma once

#include <cstdint>

// The blocks of a byte count: whole ones, but always at least one. Hosts pass a header's real size and a full
// block's buffer.
constexpr unsigned WholeBlocks(std::uint32_t uiBytes)
{
    const unsigned uiBlocks = uiBytes >> 16;
    return uiBlocks == 0 ? 1 : uiBlocks;
}
