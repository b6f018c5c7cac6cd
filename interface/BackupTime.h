#pragma once

#include <cstdint>
#include <string>

// Seconds since 1970 for a local date and time "dd/mm/yyyy hh:mm:ss". An empty text gives 0, which means the latest
// backup. Any other text gives a time before every backup: a mistyped date must find none, and not the latest.
std::int64_t ParseBackupTime(const std::string& sText);
