#pragma once

#include "interface/zdv.h"

// The one answer to a category that an export does not know.
ZDV_STATUS InvalidCategory(const char* pFunction, std::uint32_t uiCategory);
