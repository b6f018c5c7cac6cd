// Dates of versions. Users read and type "dd/mm/yyyy hh:mm:ss" in local time as their clocks show it.
#pragma once

#include "interface/zdv.h"

#include <ctime>
#include <optional>
#include <string>

std::time_t ToTime(const ZDV_VERSION_DATE& Date);

std::string VersionText(std::time_t tVersion);

int ZoneMinutes(std::time_t tTime); // east of UTC, at this time

// Nothing for a text of another form and for a date that does not exist.
std::optional<std::time_t> ParseVersionText(const std::string& sText);

// The module takes every time as standard time: in summer it must be given one hour earlier than the clock.
std::wstring StandardTimeText(std::time_t tVersion);
