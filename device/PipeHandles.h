#pragma once

#include "common/FunctionTrace.h"

#include <atomic>
#include <windows.h>

// Close one end of a transfer pipe, if it is open, and trace sText. The member becomes INVALID_HANDLE_VALUE before the
// handle is closed: the thread at the other end, whose call then fails, sees by it that the close was intended.
// A server end is closed once the worker has taken what was written to it, or has ended.
void CloseServerEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker);
void CloseClientEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);
