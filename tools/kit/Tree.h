// Files that Windows may treat in other ways than Wine does, to be backed up, restored and compared.
#pragma once

#include <cstdint>
#include <string>

// What could not be made is said in the answer, as what differs, a line for each.
std::string MakeTree(const std::wstring& sFolder, std::uint64_t uiLargestFile);
std::string Differences(const std::wstring& sLeft, const std::wstring& sRight);

void RemoveTree(const std::wstring& sFolder);
