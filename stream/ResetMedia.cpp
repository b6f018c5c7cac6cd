#include "stream/ResetMedia.h"

#include "catalogue/BackupQuery.h"
#include "common/FunctionTrace.h"
#include "interface/Entry.h"
#include "stream/ObjectClose.h"

namespace {

// An exception is a failed query: the position is reset all the same.
ZDV_STATUS QueryBackup(FtpContext& FC)
{
    try
    {
        return ObjectQueryBackup(FC);
    }
    catch (...)
    {
        TraceException(L"ObjectQueryBackup");
        AssignLastError(FC, ExceptionFailure());
        FC.m_VersionList.clear(); // half a list is none
        FC.m_AreaObjectList.clear();
        return ZDV_DEVICE_ERROR;
    }
}

} // namespace

ZDV_STATUS ResetMedia(FtpContext* pFC)
{
    const quorvel::FunctionTrace Trace(L"ResetMedia");
    Trace.Starting();
    Trace.Verbose(L"ObjectClose");
    const bool bUpload = pFC->m_bSendData;
    ObjectClose(pFC);
    // After a failed upload the query fails too, and its own reason is not the one to tell.
    const bool bUploadFailed = bUpload && pFC->m_dwLastError != ERROR_SUCCESS;
    const std::uint32_t dwLastError = pFC->m_dwLastError;
    const std::wstring sLastError = pFC->m_sLastError;
    Trace.Verbose(L"FtpContext::Reset");
    pFC->m_uiReserveBlocks = 0;
    pFC->m_bOkToWrite = true;
    Trace.Verbose(L"ObjectQueryBackup");
    const ZDV_STATUS uiRc = QueryBackup(*pFC);
    pFC->m_bFileMarkPending = false;
    pFC->m_bAtFileMark = true;
    pFC->m_bOkToWrite = true;
    if (bUploadFailed)
        AssignLastError(*pFC, {dwLastError, sLastError.c_str()});
    Trace.Verbose(L".. ending");
    return uiRc;
}
