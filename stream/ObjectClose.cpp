#include "stream/ObjectClose.h"

#include "common/FunctionTrace.h"
#include "stream/Transfer.h"
#include "stream/WriteData.h"

using quorvel::FunctionTrace;

void ObjectClose(FtpContext& FC)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"ObjectClose");
    EndTransfers(FC);
    Trace.Number(L"FC.m_ullBytesRead", FC.m_ullBytesRead);
    Trace.Number(L"FC.m_ullBytesWritten", FC.m_ullBytesWritten);
    FC.m_uiCurrentBlock = 0;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    FC.m_bWriting = FC.m_bFailureTold = false;
    Trace.Ending();
}

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
