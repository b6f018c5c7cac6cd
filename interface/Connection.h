#pragma once

#include "interface/FtpContext.h"

// Makes the device's libcurl handle from its options: connection-wide transfer options, URL scheme, root.
// False with the last error set when it cannot be made. The server is not contacted.
bool DoInitEx(FtpContext& FC);
