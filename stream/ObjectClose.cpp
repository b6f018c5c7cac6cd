#include "stream/ObjectClose.h"

#include "common/FunctionTrace.h"
#include "stream/Transfer.h"
#include "stream/WriteData.h"

using quorvel::FunctionTrace;
using quorvel::Level;

void ObjectClose(FtpContext* pFC)
{
    const FunctionTrace Trace(L"ObjectClose");
    Trace.Starting();
    FtpContext& FC = *pFC;
    EndTransfer(FC, UPLOAD);
    EndTransfer(FC, DOWNLOAD);
    Trace.Number(Level::Verbose, L"FC.m_ullBytesRead", FC.m_ullBytesRead);
    Trace.Number(Level::Verbose, L"FC.m_ullBytesWritten", FC.m_ullBytesWritten);
    FC.m_uiCurrentBlock = 0;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    FC.m_bWriting = false;
    Trace.Ending();
}

ZDV_STATUS ObjectCreateFM(FtpContext* pFC)
{
    const FunctionTrace Trace(L"ObjectCreateFM");
    Trace.Starting();
    if (WriteData(pFC, 0, nullptr) != ZDV_SUCCESS)
    {
        Trace.Error(L"... ending(WriteData failed)");
        return ZDV_DEVICE_ERROR;
    }
    Trace.Verbose(L"ObjectClose");
    ObjectClose(pFC);
    Trace.Ending();
    return ZDV_SUCCESS;
}
