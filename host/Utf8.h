// Texts are UTF-8 in this program; Win32 and the module take UTF-16.
#pragma once

#include <string>
#include <string_view>

// An unpaired half of a surrogate pair becomes U+FFFD.
std::string ToUtf8(std::wstring_view sText);

// Bytes that are not UTF-8 become U+FFFD.
std::wstring FromUtf8(std::string_view sText);
