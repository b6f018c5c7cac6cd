#pragma once

#include "common/FunctionTrace.h"
#include "interface/zdv.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

// The row of a table by its uiCategory; null for a category that is not in it.
template <typename Row, std::size_t uiRows, typename Category>
const Row* FindCategory(const Row (&aTable)[uiRows], Category uiCategory)
{
    const Row* const pRow = std::ranges::find(aTable, uiCategory, &Row::uiCategory);
    return pRow != std::end(aTable) ? pRow : nullptr;
}

// The one answer to a category that the export of this trace does not know.
ZDV_STATUS InvalidCategory(const quorvel::FunctionTrace& Caller, std::uint32_t uiCategory);
