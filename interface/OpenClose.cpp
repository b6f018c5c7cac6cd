// ZDV_Open and ZDV_Close.
#include "interface/Export.h"
#include "interface/ResourceVersion.h"
#include "stream/ObjectClose.h"

#include <new>

using quorvel::FunctionTrace;

namespace {

// Fixed by the interface: an open with this one value in the handle variable is declined.
constexpr ZDV_HANDLE DECLINED_REQUEST = 0x8000000000000000;

void TraceVersions(const FunctionTrace& Trace)
{
    Trace.Text(L"sVersions", curl_version());
    char szVersion[256] = "";
    if (GetResourceVersionStr("FileVersion", szVersion, sizeof(szVersion), GetModuleHandleA("ZDV_FTP.DLL")))
        Trace.Text(L"szVersion", szVersion);
}

ZDV_STATUS Open(const FunctionTrace& Trace, ZDV_HANDLE* pHandle)
{
    quorvel::g_Trace.ReadLevel();
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
    return Ended(Trace, ZDV_SUCCESS);
}

} // namespace

ZDV_STATUS ZDV_Open(ZDV_HANDLE* pHandle)
{
    return Guarded(L"ZDV_Open", ZDV_OPEN_FAILED,
                   [&](const FunctionTrace& Trace) { return Open(Trace, pHandle); });
}

ZDV_STATUS ZDV_Close(ZDV_HANDLE handle)
{
    return Guarded(L"ZDV_Close", ZDV_DEVICE_ERROR, [&](const FunctionTrace& Trace) {
        Trace.Starting();
        auto* const pFC = reinterpret_cast<FtpContext*>(handle);
        if (pFC == nullptr)
        {
            Trace.Verbose(L"... ending(ZDV_Open hasn't been called)");
            return ZDV_SUCCESS;
        }
        ObjectClose(*pFC);
        delete pFC;
        return Ended(Trace, ZDV_SUCCESS);
    });
}
