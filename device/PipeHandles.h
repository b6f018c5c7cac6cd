#pragma once

#include "common/FunctionTrace.h"

#include <atomic>
#include <windows.h>

// Close one end of a transfer pipe, if it is open, and trace sText. The member becomes INVALID_HANDLE_VALUE before the
// handle is closed: by that value the thread at the other end, whose call then fails, knows that the close was meant.
// Closing a server end first waits until the worker has taken what was written to it, unless hWorker has ended.
void CloseServerEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker);
void CloseClientEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);
