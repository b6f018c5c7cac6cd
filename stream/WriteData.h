#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Writes uiCount blocks. Opens the next object first if none is open; 0 blocks only open it.
ZDV_STATUS WriteData(FtpContext* pFC, unsigned uiCount, const void* buffer);
