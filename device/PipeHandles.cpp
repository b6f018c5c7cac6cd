#include "device/PipeHandles.h"

using quorvel::FunctionTrace;

namespace {

bool ProcessEnds()
{
    const auto IsEnding = reinterpret_cast<BOOLEAN(NTAPI*)()>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return IsEnding != nullptr && IsEnding();
}

} // namespace

void CloseServerEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    const HANDLE hClosing = hPipe.exchange(INVALID_HANDLE_VALUE);
    // The flush returns once the reader has taken everything; disconnecting then ends its data. The end of a process
    // kills the worker but leaves its end of the pipe open, and a flush would then wait for ever. The worker's thread
    // may be seen as dead only later, so the process is asked, too.
    if (WaitForSingleObject(hWorker, 0) != WAIT_OBJECT_0 && !ProcessEnds())
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
