// Conversions at the module's boundary. Texts are UTF-16 inside; the narrow exports use the run time's
// current locale, libcurl takes UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvel {

// Narrow text of the current locale to UTF-16. A text that the locale cannot read is taken byte by byte.
std::wstring Widen(std::string_view sText);

// UTF-16 to narrow text of the current locale. A character that the locale lacks becomes "?".
std::string Narrow(std::wstring_view sText);

// UTF-16 to UTF-8, the encoding of every text that libcurl is given.
std::string ToUtf8(std::wstring_view sText);

// Copy into a caller's buffer of uiSize characters, cut to fit and always terminated; narrow in the current
// locale. A null or empty buffer stays untouched.
void CopyTruncated(const std::wstring& sText, char* pBuffer, std::size_t uiSize);
void CopyTruncated(const std::wstring& sText, wchar_t* pBuffer, std::size_t uiSize);

// The text with every unpaired half of a surrogate pair replaced by U+FFFD.
std::wstring WellFormed(std::wstring_view sText);

// The text as it may be traced. Users type whole URLs, and the password of "user:password@" must not reach the log,
// whatever characters it holds. So everything between the scheme and the last "@" is masked.
std::string WithoutPassword(std::string_view sText);
std::wstring WithoutPassword(std::wstring_view sText);

} // namespace quorvel
