#pragma once

#include <curl/curl.h>
#include <string>
#include <string_view>

namespace quorvel {

// The narrow form of a URL for libcurl: UTF-8, with the bytes that a URL cannot hold percent-encoded
// (blanks, controls, everything beyond ASCII, and "#" and "?", which are ordinary characters in the name of
// a directory but would end the path).
std::string NarrowUrl(std::wstring_view sURL);

// A part of a URL as libcurl understands it: an address in its shortest form, a path without
// "." and "..". Empty for a URL that libcurl refuses: then the request fails, too, and says why.
std::string UrlPart(std::wstring_view sURL, CURLUPart enPart, unsigned uiFlags = 0);

} // namespace quorvel
