// Texts as users see and type them: names, amounts, times. They are UTF-8 in this program; Win32 and the module
// take UTF-16.
#pragma once

#include "common/Text.h"

#include <cstdint>
#include <ctime>
#include <fmt/format.h>
#include <optional>

using quorvel::ToUtf8; // an unpaired half of a surrogate pair becomes U+FFFD

// Bytes that are not UTF-8 become U+FFFD.
std::wstring FromUtf8(std::string_view sText);

// Control characters, and those that turn the direction of writing, become "?": names may come from anywhere.
std::string Printable(std::string_view sText);
std::string Quoted(std::string_view sName); // printable, in quotation marks

std::string SizeText(std::uint64_t uiBytes);                       // "512 bytes", "64.0 MiB"
std::string CountText(std::uint64_t uiCount, const char* pOfWhat); // "1 file", "12 files"
std::string DurationText(std::uint64_t uiSeconds);                 // "3:07", "1:02:07"

// Dates of versions are "dd/mm/yyyy hh:mm:ss" in local time as the users' clocks show it. They may be typed as
// "yyyy-mm-dd hh:mm:ss", with "T" for the blank, or "yyyy-mm-dd" for the end of that day. Nothing for a text of
// another form and for a date that does not exist.
std::string VersionText(std::time_t tVersion);
std::optional<std::time_t> ParseVersionText(const std::string& sText);

// The module takes every time as standard time: in summer it must be given one hour earlier than the clock.
std::wstring StandardTimeText(std::time_t tVersion);
