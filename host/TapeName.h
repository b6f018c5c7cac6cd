// Names of files on the tape: relative, parts joined by "/", in UTF-8.
#pragma once

#include <string>
#include <string_view>

std::string TapeName(std::wstring_view sRelativePath);

// The path, relative to a folder, of a file of this name. What came from a server is not trusted: a name that
// could lead out of the folder, or that Windows gives another meaning, is refused with a std::runtime_error.
std::wstring RelativePath(const std::string& sTapeName);
