// ZDV_ReadData: what a read means on the tape. The data comes by a download, see stream/Transfer.h.
#include "stream/ReadData.h"

#include "interface/Export.h"
#include "stream/Blocks.h"
#include "stream/ObjectClose.h"
#include "stream/PipeEnds.h"
#include "stream/Transfer.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

bool IsBlank(const FtpContext& FC)
{
    return !FC.m_bGetData && FC.m_uiCurrentObject == 0 && FC.m_uiCurrentBlock == 0 &&
           FC.m_AreaObjectList.empty();
}

ZDV_STATUS ReportFileMark(FtpContext& FC, const FunctionTrace& Trace)
{
    FC.m_bFileMarkPending = false;
    FC.m_bAtFileMark = true;
    ObjectClose(FC);
    Trace.Information(L"... ending(ZDV_FILEMARK_REACHED)");
    return ZDV_FILEMARK_REACHED;
}

ZDV_STATUS StartNextObject(FtpContext& FC, const FunctionTrace& Trace)
{
    if (FC.m_uiCurrentObject >= FC.m_AreaObjectList.size())
    {
        Trace.Warning(L"... ending(End Of Media)");
        return ZDV_END_OF_MEDIA;
    }
    if (FC.m_bWriting)
    {
        const bool bFailureReported = FC.m_bFailureReported;
        ObjectClose(FC);
        // This has ended an upload. If it failed, the host must learn that here, unless a write has said so.
        if (FC.m_dwLastError != ERROR_SUCCESS && !bFailureReported)
            return Ended(Trace, ZDV_DEVICE_ERROR);
        ClearLastError(FC);
    }
    Trace.Verbose(L"pFC->m_uiCurrentObject++");
    ++FC.m_uiCurrentObject;
    return StartTransfer(FC, DOWNLOAD);
}

// The pipe has ended or failed. The rest of the host's buffer stays as it was.
ZDV_STATUS DownloadReadFailed(FtpContext& FC, const FunctionTrace& Trace)
{
    const DWORD dwLastError = GetLastError();
    if (dwLastError != ERROR_BROKEN_PIPE)
    {
        Trace.At(L"ReadFile failed").Number(Level::Error, L"dwLastError", dwLastError);
        StoreHostFailure(FC, {dwLastError, L"ReadFile failed"});
        FC.m_bAtFileMark = false;
        return ZDV_DEVICE_ERROR;
    }
    // This read reports the filemark, and the next one reports it again: fixed by the interface.
    Trace.Verbose(L"EOF - set At FileMark");
    FC.m_bFileMarkPending = true;
    FC.m_bAtFileMark = true;
    ObjectClose(FC);
    Trace.Information(L"Hit FileMark");
    return ZDV_FILEMARK_REACHED;
}

// Fixed by the interface: one read counts as the whole header, however much of it that read has returned.
void ApplyHeaderRule(FtpContext& FC, const FunctionTrace& Trace)
{
    const bool bVolumeHeader = FC.m_uiCurrentObject == 1;
    if (!bVolumeHeader && (FC.m_uiCurrentObject + 1) % 3 != 0)
        return;
    Trace.At(bVolumeHeader ? L"VH read in full" : L"AH read in full")
        .Number(Level::Information, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    Trace.At(bVolumeHeader ? L"VH" : L"AH")
        .Number(Level::Information, L"pFC->m_ullBytesRead", FC.m_ullBytesRead);
    FC.m_bFileMarkPending = true;
}

ZDV_STATUS ReadObject(FtpContext& FC, const FunctionTrace& Trace, unsigned uiCount, void* buffer)
{
    auto* const pBuffer = static_cast<char*>(buffer);
    ZDV_STATUS uiRc = ZDV_SUCCESS;
    if (!ReadPipe(Trace, FC.m_hDownloadRead, pBuffer, uiCount * ZDV_BLOCK_SIZE, FC.m_ullBytesRead))
        uiRc = DownloadReadFailed(FC, Trace);
    if (uiRc == ZDV_SUCCESS)
        FC.m_bAtFileMark = FC.m_bOkToWrite = false;
    if (uiRc != ZDV_DEVICE_ERROR)
        FC.m_uiCurrentBlock += uiCount;
    ApplyHeaderRule(FC, Trace);
    return Ended(Trace, uiRc);
}

} // namespace

ZDV_STATUS ReadData(FtpContext* pFC, unsigned uiCount, void* buffer)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"ReadData");
    if (pFC == nullptr)
    {
        Trace.Error(L"... ending(ZDV_INVALID_HANDLE)");
        return ZDV_INVALID_HANDLE;
    }
    FtpContext& FC = *pFC;
    ClearLastError(FC);
    Trace.Number(L"uiCount", uiCount);
    if (IsBlank(FC))
    {
        Trace.Information(L"... ending(ZDV_BLANK_CHECK)");
        return ZDV_BLANK_CHECK;
    }
    if (FC.m_bFileMarkPending)
        return ReportFileMark(FC, Trace);
    if (!FC.m_bGetData)
        if (const ZDV_STATUS uiRc = StartNextObject(FC, Trace); uiRc != ZDV_SUCCESS)
            return uiRc;
    return ReadObject(FC, Trace, uiCount, buffer);
}

ZDV_STATUS ZDV_ReadData(ZDV_HANDLE handle, std::uint32_t uiBytes, void* buffer)
{
    return WithDevice(handle, {L"ZDV_ReadData"}, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiBytes", uiBytes);
        return ReadData(&FC, WholeBlocks(uiBytes), buffer);
    });
}
