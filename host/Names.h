// Names on the tape: UTF-8, with "/" between folders.
#pragma once

#include <string>
#include <vector>

// The path below a folder that a name means on Windows. Refuses every name that could lead out of it, or to a
// device or a stream.
std::wstring RelativePath(const std::string& sTapeName);

std::wstring CaseFolded(const std::string& sText);

// Whether a name, or a folder that it lies in, is meant by one of the patterns: "*" and "?" as everywhere, in any
// case, "/" or "\" between folders. A pattern with several parts is that of a whole name, one without is that of
// a last part: "*.tmp", "Documents/Letters", "C/Users/*/AppData".
bool MatchesAny(const std::vector<std::string>& Patterns, const std::string& sTapeName);
