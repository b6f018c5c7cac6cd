#include "stream/ObjectClose.h"

#include "common/FunctionTrace.h"
#include "stream/Transfer.h"

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
    FC.m_bWriting = FC.m_bFailureReported = false;
    Trace.Ending();
}
