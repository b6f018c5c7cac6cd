// The names of backups and objects on the server, and the dates in them:
//
//   <root>/ZELT_20240315143005/                          a version: prefix, local date and time
//   <root>/ZELT_20240315143005/ZELT_20240315143012.002   object 2 of it, opened seven seconds later
//
// A label shows its instant in the local time of the machine that reads or writes it.
#pragma once

#include "common/FunctionTrace.h"

#include <cstdint>
#include <string>
#include <string_view>

inline constexpr std::wstring_view LABEL_PREFIX = L"ZELT_";
inline constexpr std::size_t LABEL_DATE_LENGTH = 14; // YYYYMMDDhhmmss
inline constexpr const wchar_t* LABEL_DATE_PATTERN = L"%Y%m%d%H%M%S";

// The label of a version or object that cannot have one: its date is out of range, or its number over 999.
inline constexpr std::wstring_view ERROR_LABEL = L"ZELT_ERROR";
static_assert(ERROR_LABEL.starts_with(LABEL_PREFIX));

// A date (seconds since 1970) in local time, by a pattern of wcsftime that gives at most 20 characters. On failure
// the error number is traced under the function's ending, and sText is unchanged.
bool FormatLocalTime(const quorvel::FunctionTrace& Trace, std::int64_t tDate, const wchar_t* sPattern,
                     std::wstring& sText);

// The date in the first fourteen characters of sRemainder. Listings check only the form of a label, so any digits come
// here: month 13 is January of the next year, and a date that cannot be represented is -1.
std::int64_t ParseLabelDate(const std::wstring& sRemainder, const quorvel::FunctionTrace& Trace);

// The label without its prefix. False, and traced, unless the label is LABEL_PREFIX and uiRemainder more characters,
// each of them a digit or (if allowed) a point.
bool SplitLabel(const std::wstring& sLabel, std::size_t uiRemainder, bool bPointAllowed,
                const quorvel::FunctionTrace& Trace, std::wstring& sRemainder);
