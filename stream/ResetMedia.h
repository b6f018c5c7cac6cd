#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Loads the tape again: ends any transfer, allows writing, lists the versions and the objects of the chosen one. The
// object number is kept. Answers the status of the catalogue query; the filemark flags are reset also when it fails.
ZDV_STATUS ResetMedia(FtpContext& FC);
