#pragma once

#include "common/FunctionTrace.h"
#include "interface/zdv.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

// The table's row for a category; null if there is none.
template <typename Row, std::size_t uiRows, typename Category>
const Row* FindCategory(const Row (&aTable)[uiRows], Category uiCategory)
{
    const Row* const pRow = std::ranges::find(aTable, uiCategory, &Row::uiCategory);
    return pRow != std::end(aTable) ? pRow : nullptr;
}

// How every export answers a category that it does not know. Caller is the export's trace.
ZDV_STATUS InvalidCategory(const quorvel::FunctionTrace& Caller, std::uint32_t uiCategory);
