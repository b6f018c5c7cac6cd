#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Reads uiCount blocks, starting the next object first when none is being read.
ZDV_STATUS ReadData(FtpContext* pFC, unsigned uiCount, void* buffer);
