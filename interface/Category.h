#pragma once

#include "common/FunctionTrace.h"
#include "interface/zdv.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

// The entry of a table by its uiCategory; null for a category that is not in it.
template <typename Entry, std::size_t uiEntries, typename Category>
const Entry* FindCategory(const Entry (&aTable)[uiEntries], Category uiCategory)
{
    const Entry* const pEntry = std::ranges::find(aTable, uiCategory, &Entry::uiCategory);
    return pEntry != std::end(aTable) ? pEntry : nullptr;
}

// The one answer to a category that the export of this trace does not know.
ZDV_STATUS InvalidCategory(const quorvel::FunctionTrace& Caller, std::uint32_t uiCategory);
