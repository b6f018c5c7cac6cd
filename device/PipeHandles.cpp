#include "device/PipeHandles.h"

using quorvel::FunctionTrace;

void CloseServerEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    const HANDLE hClosing = hPipe.exchange(INVALID_HANDLE_VALUE);
    // The flush returns once the reader has taken everything; the disconnect is its end of data. The end of a process
    // kills the worker with its end of the pipe open, and then nobody takes anything.
    if (WaitForSingleObject(hWorker, 0) != WAIT_OBJECT_0)
        FlushFileBuffers(hClosing);
    DisconnectNamedPipe(hClosing);
    CloseHandle(hClosing);
}

void CloseClientEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    CloseHandle(hPipe.exchange(INVALID_HANDLE_VALUE));
}
