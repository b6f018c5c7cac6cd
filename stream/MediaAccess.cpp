// ZDV_MediaAccess.
#include "interface/Entry.h"
#include "interface/InvalidCategory.h"
#include "stream/ObjectClose.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

// The first filemark ends the object being written. Each further one leaves out an object number, and so
// makes no object at the end of the data: hosts that ask for a double filemark there count on its status
// alone, and would take an empty object for data. A request for none runs through the whole 32-bit range.
ZDV_STATUS WriteFilemarks(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiParam)
{
    Trace.Verbose(L"ZDV_MA_WFM");
    Trace.Number(Level::Verbose, L"uiParam", uiParam);
    ObjectClose(&FC);
    FC.m_bFileMarkPending = false;
    while (--uiParam != 0)
    {
        Trace.Verbose(L"ObjectClose");
        ObjectClose(&FC);
        Trace.Verbose(L"pFC->m_uiCurrentObject++");
        ++FC.m_uiCurrentObject;
        Trace.Number(Level::Verbose, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
        Trace.Verbose(L"ObjectCreateFM");
        ObjectCreateFM(&FC);
    }
    return ZDV_SUCCESS;
}

ZDV_STATUS Initialise(const FunctionTrace& Trace)
{
    Trace.Verbose(L"ZDV_MA_I");
    Trace.Warning(L"ZDV_FUNCTION_NOT_SUPPORTED");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

// A blank tape from here on. The versions on the server are kept.
ZDV_STATUS EraseAllObjects(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"ZDV_MA_E");
    Trace.Verbose(L"EraseAllObjects");
    ObjectClose(&FC);
    FC.m_AreaObjectList.clear();
    FC.m_uiReserveBlocks = 0;
    FC.m_bOkToWrite = true;
    FC.m_uiCurrentObject = 0;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    return ZDV_SUCCESS;
}

ZDV_STATUS AccessMedia(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiCategory,
                       std::uint32_t uiParam)
{
    switch (uiCategory)
    {
    case ZDV_MA_WFM:
        return WriteFilemarks(FC, Trace, uiParam);
    case ZDV_MA_I:
        return Initialise(Trace);
    case ZDV_MA_E:
        return EraseAllObjects(FC, Trace);
    default:
        return InvalidCategory("ZDV_MediaAccess", uiCategory);
    }
}

} // namespace

ZDV_STATUS ZDV_MediaAccess(ZDV_HANDLE handle, std::uint32_t uiCategory, std::uint32_t uiParam)
{
    return WithDevice(handle, L"ZDV_MediaAccess", [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiCategory", uiCategory);
        return Ended(L"ZDV_MediaAccess : ... ending", AccessMedia(FC, Trace, uiCategory, uiParam));
    });
}
