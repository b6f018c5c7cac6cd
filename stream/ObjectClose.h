#pragma once

#include "interface/FtpContext.h"

// Ends the current object: its transfer, in either direction, and the per-object counters. The object number is kept.
// Safe in any state. Afterwards the last error says whether an upload has failed.
void ObjectClose(FtpContext& FC);
