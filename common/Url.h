#pragma once

#include <string>
#include <string_view>

namespace quorvel {

// The narrow form of a URL for libcurl: UTF-8, with the bytes that a URL cannot hold percent-encoded
// (blanks, controls, everything beyond ASCII, and "#" and "?", which are ordinary characters in the name of
// a directory but would end the path).
std::string NarrowUrl(std::wstring_view sURL);

} // namespace quorvel
