#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Loads the tape afresh: ends any transfer, allows writing, re-reads the versions and the chosen one's
// objects. The object number is kept. The status of the catalogue query; the position is reset either way.
ZDV_STATUS ResetMedia(FtpContext& FC);
