#pragma once

#include <windows.h>

// The workers' thread procedures: libcurl at the other end of the pipe. The argument is the device.
DWORD WINAPI ThreadWriter(LPVOID pArgument);
DWORD WINAPI ThreadReader(LPVOID pArgument);
