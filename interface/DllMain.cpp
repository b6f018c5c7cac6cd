#include "common/FunctionTrace.h"

#include <windows.h>

using quorvel::FunctionTrace;

namespace {

void Attach()
{
    quorvel::g_Trace.ReadLevel();
    const FunctionTrace Trace(L"DllMain");
    Trace.Verbose(L"tracing starting ...");
    Trace.Verbose(L"DLL_PROCESS_ATTACH");
}

void Detach()
{
    const FunctionTrace Trace(L"DllMain");
    Trace.Starting();
    Trace.Verbose(L"DLL_PROCESS_DETACH");
    Trace.Verbose(L"... tracing terminating");
    Trace.Ending();
}

} // namespace

// Runs under the loader lock: nothing here may load a library, wait for a thread or touch libcurl.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, LPVOID)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        Attach();
    else if (dwReason == DLL_PROCESS_DETACH)
        Detach();
    return TRUE;
}
