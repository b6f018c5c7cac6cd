#include "stream/ResetMedia.h"

#include "catalogue/BackupQuery.h"
#include "common/FunctionTrace.h"
#include "stream/ObjectClose.h"

ZDV_STATUS ResetMedia(FtpContext* pFC)
{
    const quorvel::FunctionTrace Trace(L"ResetMedia");
    Trace.Starting();
    Trace.Verbose(L"ObjectClose");
    ObjectClose(pFC);
    Trace.Verbose(L"FtpContext::Reset");
    pFC->m_uiReserveBlocks = 0;
    pFC->m_bOkToWrite = true;
    Trace.Verbose(L"ObjectQueryBackup");
    const ZDV_STATUS uiRc = ObjectQueryBackup(*pFC);
    pFC->m_bFileMarkPending = false;
    pFC->m_bAtFileMark = true;
    pFC->m_bOkToWrite = true;
    Trace.Verbose(L".. ending");
    return uiRc;
}
