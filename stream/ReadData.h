#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Reads uiCount blocks. Starts the next object first if none is being read.
ZDV_STATUS ReadData(FtpContext* pFC, unsigned uiCount, void* buffer);
