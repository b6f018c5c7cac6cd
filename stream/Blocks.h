#pragma once

#include "interface/zdv.h"

// The blocks of a byte count: whole ones, but always at least one.
constexpr unsigned WholeBlocks(std::uint32_t uiBytes)
{
    const unsigned uiBlocks = uiBytes / ZDV_BLOCK_SIZE;
    return uiBlocks == 0 ? 1 : uiBlocks;
}
