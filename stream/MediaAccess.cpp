// ZDV_MediaAccess.
#include "interface/Category.h"
#include "interface/Export.h"
#include "stream/ObjectClose.h"
#include "stream/WriteData.h"

using quorvel::FunctionTrace;

namespace {

// Writes a filemark as an object of its own.
ZDV_STATUS ObjectCreateFM(FtpContext& FC)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"ObjectCreateFM");
    if (WriteData(&FC, 0, nullptr) != ZDV_SUCCESS)
    {
        Trace.Error(L"... ending(WriteData failed)");
        return ZDV_DEVICE_ERROR;
    }
    Trace.Verbose(L"ObjectClose");
    ObjectClose(FC);
    Trace.Ending();
    return ZDV_SUCCESS;
}

// Fixed by the interface: the first filemark ends the object being written. Each further one leaves out an object
// number, and so makes no object at the end of the data. A request for 0 counts through the whole 32-bit range.
ZDV_STATUS WriteFilemarks(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiParam)
{
    Trace.Number(L"uiParam", uiParam);
    ObjectClose(FC);
    FC.m_bFileMarkPending = false;
    while (--uiParam != 0)
    {
        Trace.Verbose(L"ObjectClose");
        ObjectClose(FC);
        Trace.Verbose(L"pFC->m_uiCurrentObject++");
        ++FC.m_uiCurrentObject;
        Trace.Number(L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
        Trace.Verbose(L"ObjectCreateFM");
        ObjectCreateFM(FC);
    }
    return ZDV_SUCCESS;
}

ZDV_STATUS Initialise(FtpContext&, const FunctionTrace& Trace, std::uint32_t)
{
    Trace.Warning(L"ZDV_FUNCTION_NOT_SUPPORTED");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

// Makes the tape blank. The versions on the server are kept.
ZDV_STATUS EraseAllObjects(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t)
{
    Trace.Verbose(L"EraseAllObjects");
    ObjectClose(FC);
    FC.m_AreaObjectList.clear();
    FC.m_uiReserveBlocks = 0;
    FC.m_bOkToWrite = true;
    FC.m_uiCurrentObject = 0;
    return ZDV_SUCCESS;
}

struct MediaRequest
{
    std::uint32_t uiCategory;
    const wchar_t* sName;
    ZDV_STATUS (*Run)(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiParam);
};

constexpr MediaRequest REQUESTS[] = {{ZDV_MA_WFM, L"ZDV_MA_WFM", WriteFilemarks},
                                     {ZDV_MA_I, L"ZDV_MA_I", Initialise},
                                     {ZDV_MA_E, L"ZDV_MA_E", EraseAllObjects}};

} // namespace

ZDV_STATUS ZDV_MediaAccess(ZDV_HANDLE handle, std::uint32_t uiCategory, std::uint32_t uiParam)
{
    return WithDevice(handle, {L"ZDV_MediaAccess"}, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiCategory", uiCategory);
        const MediaRequest* const pRequest = FindCategory(REQUESTS, uiCategory);
        if (pRequest == nullptr)
            return InvalidCategory(Trace, uiCategory);
        Trace.Verbose(pRequest->sName);
        return pRequest->Run(FC, Trace, uiParam);
    });
}
