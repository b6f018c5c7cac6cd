#pragma once

#include <cstdint>
#include <string>

// Seconds since 1970 for a local date and time "dd/mm/yyyy hh:mm:ss". An empty text gives 0, "the latest".
// A text that is no date gives a time before every backup: what was asked for cannot be found, and must not
// silently become the latest.
std::int64_t ParseBackupTime(const std::string& sText);
