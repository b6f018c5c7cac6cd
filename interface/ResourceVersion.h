#pragma once

#include <cstdint>
#include <windows.h>

// Copies a string of a module's version resource, such as "FileVersion", into szValue, cut to uiLen
// characters with the terminating zero. False, with szValue untouched, when there is none.
bool GetResourceVersionStr(const char* szKey, char* szValue, std::uint32_t uiLen, HMODULE hModule);
