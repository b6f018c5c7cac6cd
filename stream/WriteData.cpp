// ZDV_WriteData: what a write means on the tape. The data leaves by an upload, see stream/Transfer.h.
#include "stream/WriteData.h"

#include "catalogue/VersionMgr.h"
#include "interface/Export.h"
#include "stream/Blocks.h"
#include "stream/ObjectClose.h"
#include "stream/PipeEnds.h"
#include "stream/Transfer.h"

#include <ctime>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

// Writing the volume header creates the version that it and the following objects belong to.
ZDV_STATUS StartVersion(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Information(L"Writing Volume Header so start new version");
    FC.m_tLatestVersion = _time64(nullptr);
    // Set before the server is asked: a host that goes on writing after a failure would otherwise overwrite the objects
    // of an older version.
    FC.m_CurrentVersion = Version(FC.m_tLatestVersion);
    FC.m_AreaObjectList.clear();
    VersionMgr Manager(FC.m_pCurl, FC.m_sProtocol);
    if (!Manager.CreateVersion(FC.m_sServer, FC.m_sRoot, FC.m_CurrentVersion))
    {
        StoreFailure(FC, StoredFailure(Manager));
        Trace.Error(L"... ending(VersionMgr::CreateVersion failed)");
        return ZDV_DEVICE_ERROR;
    }
    Trace.Verbose(L"New version");
    FC.m_VersionList.push_back(FC.m_tLatestVersion);
    FC.m_AreaObjectList.emplace_back(FC.m_tLatestVersion, FC.m_uiCurrentObject);
    return ZDV_SUCCESS;
}

ZDV_STATUS OpenObject(FtpContext& FC, const FunctionTrace& Trace)
{
    if (FC.m_bGetData)
    {
        ObjectClose(FC);
        ClearLastError(FC);
    }
    ++FC.m_uiCurrentObject;
    FC.m_bWriting = true;
    if (FC.m_uiCurrentObject == 1)
        return StartVersion(FC, Trace);
    FC.m_AreaObjectList.emplace_back(_time64(nullptr), FC.m_uiCurrentObject);
    return ZDV_SUCCESS;
}

ZDV_STATUS StartUpload(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Number(L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    if (FC.m_uiCurrentObject == 0 || FC.m_uiCurrentObject > FC.m_AreaObjectList.size())
    {
        Trace.At(L"Internal error - object count wrong")
            .Number(Level::Error, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
        return ZDV_INTERNAL_ERROR;
    }
    return StartTransfer(FC, UPLOAD);
}

bool PipeHasEnded(DWORD dwLastError)
{
    return dwLastError == ERROR_NO_DATA || dwLastError == ERROR_BROKEN_PIPE ||
           dwLastError == ERROR_PIPE_NOT_CONNECTED;
}

ZDV_STATUS UploadWriteFailed(FtpContext& FC, const FunctionTrace& Trace)
{
    const DWORD dwLastError = GetLastError();
    if (PipeHasEnded(dwLastError) && FC.m_hUploadRead == INVALID_HANDLE_VALUE)
    {
        // The worker has closed its end, and does nothing after that. Once it has ended, the last error is the host's.
        WaitForSingleObject(FC.m_hThread, INFINITE);
        FC.m_bFailureReported = true;
    }
    else
        StoreHostFailure(FC, {dwLastError, L"WriteFile failed"});
    if (dwLastError != ERROR_NO_DATA)
        Trace.At(L"WriteFile failed").Number(Level::Error, L"dwLastError", dwLastError);
    else if (FC.m_hUploadRead == INVALID_HANDLE_VALUE)
        Trace.Information(L"Upload->Read pipe handle closed");
    else
        Trace.Error(L"WriteFile failed(No Data)");
    return ZDV_DEVICE_ERROR;
}

} // namespace

ZDV_STATUS WriteData(FtpContext* pFC, unsigned uiCount, const void* buffer)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"WriteData");
    if (pFC == nullptr)
    {
        Trace.Error(L"... ending(ZDV_INVALID_HANDLE)");
        return ZDV_INVALID_HANDLE;
    }
    FtpContext& FC = *pFC;
    ClearLastError(FC);
    Trace.Number(L"uiCount", uiCount);
    Trace.Number(L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    if (!FC.m_bOkToWrite)
    {
        Trace.Error(L"... ending(Not OK to write)");
        return ZDV_WRITE_PROTECTED;
    }
    ZDV_STATUS uiRc = FC.m_bWriting ? ZDV_SUCCESS : OpenObject(FC, Trace);
    if (uiRc == ZDV_SUCCESS && !FC.m_bSendData)
        uiRc = StartUpload(FC, Trace);
    if (uiRc != ZDV_SUCCESS)
        return uiRc;
    const auto* const pData = static_cast<const char*>(buffer);
    if (!WritePipe(Trace, FC.m_hUploadWrite, pData, uiCount * ZDV_BLOCK_SIZE, FC.m_ullBytesWritten))
        uiRc = UploadWriteFailed(FC, Trace);
    // Also after a failed write: fixed by the interface.
    FC.m_uiCurrentBlock += uiCount;
    return Ended(Trace, uiRc);
}

ZDV_STATUS ZDV_WriteData(ZDV_HANDLE handle, std::uint32_t uiBytes, const void* buffer)
{
    return WithDevice(handle, {L"ZDV_WriteData"}, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiBytes", uiBytes);
        return WriteData(&FC, WholeBlocks(uiBytes), buffer);
    });
}
