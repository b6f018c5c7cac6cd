// Files that Windows may treat in other ways than Wine does, to be backed up, restored and compared.
#pragma once

#include <cstdint>
#include <string>

// Both return text: a line for each thing that could not be made, or that differs.
std::string MakeTree(const std::wstring& sFolder, std::uint64_t uiLargestFile);
std::string Differences(const std::wstring& sLeft, const std::wstring& sRight);

void RemoveTree(const std::wstring& sFolder);
