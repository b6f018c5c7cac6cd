#include "stream/ResetMedia.h"

#include "catalogue/BackupQuery.h"
#include "common/FunctionTrace.h"
#include "device/LastError.h"
#include "stream/ObjectClose.h"

#include <utility>

ZDV_STATUS ResetMedia(FtpContext& FC)
{
    const quorvel::FunctionTrace Trace = quorvel::FunctionTrace::Started(L"ResetMedia");
    Trace.Verbose(L"ObjectClose");
    const bool bUpload = FC.m_bSendData;
    ObjectClose(FC);
    // After a failed upload the query fails, too, but the host needs the upload's reason.
    const bool bUploadFailed = bUpload && FC.m_dwLastError != ERROR_SUCCESS;
    LastError EndedUpload = bUploadFailed ? TakeLastError(FC) : LastError();
    Trace.Verbose(L"FtpContext::Reset");
    FC.m_uiReserveBlocks = 0;
    FC.m_bOkToWrite = true;
    Trace.Verbose(L"ObjectQueryBackup");
    const ZDV_STATUS uiRc = ObjectQueryBackup(FC);
    FC.m_bFileMarkPending = false;
    FC.m_bAtFileMark = true;
    if (bUploadFailed)
        PutBackLastError(FC, std::move(EndedUpload));
    Trace.Verbose(L".. ending");
    return uiRc;
}
