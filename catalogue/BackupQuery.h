#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Lists the versions on the server, chooses the newest, or the newest not later than the backup time that
// the host asked for, and loads its objects. A root without versions is a success with an empty list.
// ZDV_DEVICE_ERROR with the last error set on failure.
ZDV_STATUS ObjectQueryBackup(FtpContext& FC);
