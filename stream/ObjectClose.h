#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Ends the current object: its transfer, whichever way it runs, and the per-object counters. The object
// number is kept. Safe in any state. What became of an upload is in the last error afterwards.
void ObjectClose(FtpContext& FC);

// Writes a filemark as an object of its own, or as the end of the object that is open for writing.
// ZDV_DEVICE_ERROR when none could be opened.
ZDV_STATUS ObjectCreateFM(FtpContext& FC);
