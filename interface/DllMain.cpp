#include "common/FunctionTrace.h"
#include "common/MemoryReserve.h"

#include <openssl/crypto.h>
#include <windows.h>

using quorvel::FunctionTrace;

namespace __gnu_cxx {
void __freeres(); // of the C++ runtime, which declares it in no header
}

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
    const FunctionTrace Trace = FunctionTrace::Started(L"DllMain");
    Trace.Verbose(L"DLL_PROCESS_DETACH");
    Trace.Verbose(L"... tracing terminating");
    Trace.Ending();
}

// Frees what the linked libraries keep until the process ends: the module may be unloaded long before.
void ReleaseLibraries()
{
    OPENSSL_cleanup();
    quorvel::ReleaseMemoryReserve();
    __gnu_cxx::__freeres();
}

} // namespace

// Runs under the loader lock: nothing here may load a library, wait for a thread or touch libcurl.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, LPVOID pReserved)
{
    const bool bProcessEnds = pReserved != nullptr;
    if (dwReason == DLL_PROCESS_ATTACH)
        Attach();
    else if (dwReason == DLL_PROCESS_DETACH)
    {
        if (!bProcessEnds || quorvel::g_Trace.CanWrite())
            Detach();
        if (!bProcessEnds)
            ReleaseLibraries();
    }
    return TRUE;
}
