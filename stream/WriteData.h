#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// Writes uiCount blocks, opening the next object first when none is open; 0 only opens it.
ZDV_STATUS WriteData(FtpContext* pFC, unsigned uiCount, const void* buffer);
