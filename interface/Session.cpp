// ZDV_Open and ZDV_Close.
#include "interface/Entry.h"
#include "interface/ResourceVersion.h"
#include "stream/ObjectClose.h"

#include <new>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

// A host asks with this value in its handle variable whether the module takes part in something that it
// does not; only this one value means that.
constexpr ZDV_HANDLE DECLINED_REQUEST = 0x8000000000000000;

void TraceVersions(const FunctionTrace& Trace)
{
    Trace.Text(Level::Verbose, L"sVersions", curl_version());
    char szVersion[256] = "";
    if (GetResourceVersionStr("FileVersion", szVersion, sizeof(szVersion), GetModuleHandleA("ZDV_FTP.DLL")))
        Trace.Text(Level::Verbose, L"szVersion", static_cast<const char*>(szVersion));
}

ZDV_STATUS Open(ZDV_HANDLE* pHandle)
{
    quorvel::g_Trace.ReadLevel();
    const FunctionTrace Trace(L"ZDV_Open");
    Trace.Starting();
    TraceVersions(Trace);
    if (*pHandle == DECLINED_REQUEST)
    {
        Trace.Warning(L"... ending(ZDV_FUNCTION_NOT_SUPPORTED)");
        return ZDV_FUNCTION_NOT_SUPPORTED;
    }
    Trace.Verbose(L"InitSession");
    auto* const pFC = new (std::nothrow) FtpContext;
    if (pFC == nullptr)
    {
        Trace.Error(L"InitSession failed");
        return ZDV_OPEN_FAILED;
    }
    *pHandle = reinterpret_cast<ZDV_HANDLE>(pFC);
    return Ended(L"ZDV_Open : ... ending", ZDV_SUCCESS);
}

} // namespace

ZDV_STATUS ZDV_Open(ZDV_HANDLE* pHandle)
{
    return Guarded(L"ZDV_Open", ZDV_OPEN_FAILED, [&] { return Open(pHandle); });
}

ZDV_STATUS ZDV_Close(ZDV_HANDLE handle)
{
    return Guarded(L"ZDV_Close", ZDV_DEVICE_ERROR, [&] {
        const FunctionTrace Trace(L"ZDV_Close");
        Trace.Starting();
        auto* const pFC = reinterpret_cast<FtpContext*>(handle);
        if (pFC == nullptr)
        {
            Trace.Verbose(L"... ending(ZDV_Open hasn't been called)");
            return ZDV_SUCCESS;
        }
        ObjectClose(pFC);
        delete pFC;
        return Ended(L"ZDV_Close : ... ending", ZDV_SUCCESS);
    });
}
