#pragma once

#include "common/FunctionTrace.h"

#include <atomic>
#include <windows.h>

// Close one end of a transfer pipe, if it is open, and trace sText. The member is published as
// INVALID_HANDLE_VALUE before the handle is closed: the thread at the other end, seeing its own call fail,
// tells by that value that the close was meant.
// A server end waits until hWorker has taken all, if there is one that still runs.
void CloseServerEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker);
void CloseClientEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);
