#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Loads the tape again: ends any transfer, allows writing, lists the versions and the objects of the chosen one. The
// object number is kept. Returns the status of the catalogue query. If that fails, the flags are reset all the same.
ZDV_STATUS ResetMedia(FtpContext& FC);
