// ZDV_WriteData, and the upload: WriteData on the host's thread, ThreadWriter with ReadCallback on the
// worker.
#include "stream/WriteData.h"

#include "catalogue/VersionMgr.h"
#include "interface/CurlCallback.h"
#include "interface/LastError.h"
#include "stream/Blocks.h"
#include "stream/ObjectClose.h"
#include "stream/PipeEnds.h"
#include "stream/Transfer.h"
#include "stream/Worker.h"

#include <ctime>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

DWORD WINAPI ThreadWriter(LPVOID pArgument);

} // namespace

const TransferDirection UPLOAD = {
    .sPipeName = L"\\\\.\\pipe\\ZDV_FTP_UPLOAD",
    .dwServerMode = PIPE_ACCESS_OUTBOUND,
    .dwClientAccess = GENERIC_READ,
    .hServer = &FtpContext::m_hUploadWrite,
    .hClient = &FtpContext::m_hUploadRead,
    .bRunning = &FtpContext::m_bSendData,
    .Worker = ThreadWriter,
    .sSetUrl = L"WriteData : curl_easy_setopt(CURLOPT_URL)",
    .sEnding = L"WriteData : ... ending",
    .sCreatePipeFailed = L"WriteData : CreatePipe failed",
    .sCouldNotCreate = L"Couldn't create Upload named pipe",
    .sConnectFailed = L"WriteData : ConnectNamedPipe failed",
    .sCouldNotConnect = L"Couldn't connect Upload->Write pipe",
    .sWorkerFunction = L"ThreadWriter",
    .sWorkerEnding = L"ThreadWriter : ... ending",
    .sOpenFailed = L"ThreadWriter : CreateFile failed",
    .sCouldNotOpen = L"Couldn't create Upload->Read pipe",
    .sEnd = L"End Send Data",
    .sClosePipe = L"Close Pipe(Upload->Write)",
    .sStillActive = L"ObjectClose : ThreadWriter still active ...",
    .sWaiting = L"Waiting for ThreadWriter to finish ...",
};

namespace {

// ------------------------------------------------------------------------------------------- worker

std::size_t FailedRead(FtpContext* pFC, const FunctionTrace& Trace, DWORD dwBytesRead)
{
    const DWORD dwLastError = GetLastError();
    if (dwLastError == ERROR_BROKEN_PIPE || dwLastError == ERROR_PIPE_NOT_CONNECTED)
    {
        Trace.Number(Level::Verbose, L"pFC->m_ullBytesRead", pFC->m_ullBytesRead);
        Trace.Information(L"... ending(EOF)");
        // Only whole buffers count: hosts write whole blocks, which whole buffers divide.
        return dwBytesRead;
    }
    FunctionTrace(L"ReadCallback : ... ending(ReadFile failed)")
        .Number(Level::Error, L"dwLastError", dwLastError);
    return ABORT_TRANSFER;
}

std::size_t FillBuffer(FtpContext* pFC, const FunctionTrace& Trace, char* buffer, std::size_t uiSize)
{
    const HANDLE hPipe = pFC->m_hUploadRead;
    auto dwBytesToRead = static_cast<DWORD>(uiSize);
    DWORD dwDone = 0;
    while (dwBytesToRead != 0)
    {
        Trace.Number(Level::Verbose, L"dwBytesToRead", dwBytesToRead);
        DWORD dwBytesRead = 0;
        if (!ReadFile(hPipe, buffer + dwDone, dwBytesToRead, &dwBytesRead, nullptr))
            return FailedRead(pFC, Trace, dwBytesRead);
        Trace.Number(Level::Verbose, L"dwBytesRead", dwBytesRead);
        dwDone += dwBytesRead;
        pFC->m_ullBytesRead += dwBytesRead;
        dwBytesToRead -= dwBytesRead;
    }
    FunctionTrace(L"ReadCallback : ... ending")
        .Number(Level::Verbose, L"size * nitems", std::uint64_t{uiSize});
    return uiSize;
}

// libcurl wants data to send. Blocks until its whole buffer is filled, however many writes of the host that
// takes.
std::size_t ReadCallback(char* buffer, std::size_t size, std::size_t nitems, void* pUserData)
{
    return GuardedCallback(L"ReadCallback", [&](const FunctionTrace& Trace) -> std::size_t {
        Trace.Starting();
        auto* const pFC = static_cast<FtpContext*>(pUserData);
        if (pFC == nullptr)
        {
            Trace.Error(L"... ending(NULL argument)");
            return ABORT_TRANSFER;
        }
        if (pFC->m_hUploadRead == INVALID_HANDLE_VALUE)
        {
            Trace.Error(L"... ending(bad Upload->Read pipe handle)");
            return ABORT_TRANSFER;
        }
        return FillBuffer(pFC, Trace, buffer, size * nitems);
    });
}

CURLcode PerformUpload(CURL* pCurl, FtpContext*)
{
    const CURLcode enCurlRc = curl_easy_perform(pCurl);
    if (enCurlRc == CURLE_OK)
        FunctionTrace(L"ThreadWriter").Verbose(L"EOF");
    return enCurlRc;
}

// After a failed transfer the handle stays in upload mode, so that listings fail: the host has to make the
// device ready anew, and learns what became of the version.
constexpr WorkerStep STEPS[] = {
    {L"curl_easy_setopt(CURLOPT_DIRLISTONLY, FALSE)", L"Set directory list only option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_DIRLISTONLY, 0L); }},
    {L"curl_easy_setopt(CURLOPT_READFUNCTION)", L"Set read function option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_READFUNCTION, &ReadCallback); }},
    {L"curl_easy_setopt(CURLOPT_READDATA)", L"Set read data option failed",
     [](CURL* pCurl, FtpContext* pFC) { return curl_easy_setopt(pCurl, CURLOPT_READDATA, pFC); }},
    {L"curl_easy_setopt(CURLOPT_UPLOAD, TRUE)", L"Set upload option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_UPLOAD, 1L); }},
    {L"curl_easy_perform", L"Perform operation failed", PerformUpload},
    {L"curl_easy_setopt(CURLOPT_UPLOAD, FALSE)", L"Unset upload option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_UPLOAD, 0L); }},
};

DWORD WINAPI ThreadWriter(LPVOID pArgument) { return WorkerThread<PipeReadThunk>(pArgument, UPLOAD, STEPS); }

// ------------------------------------------------------------------------------------------- host's thread

// The volume header's write makes the version that this and the following objects belong to.
ZDV_STATUS StartVersion(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Information(L"Writing Volume Header so start new version");
    FC.m_tLatestVersion = _time64(nullptr);
    // Set before the server is asked: a host that writes on after a failure must not find an older version, and
    // overwrite its objects.
    FC.m_CurrentVersion = Version(FC.m_tLatestVersion);
    FC.m_AreaObjectList.clear();
    VersionMgr Manager(FC.m_pCurl, FC.m_sProtocol);
    if (!Manager.CreateVersion(FC.m_sServer, FC.m_sRoot, FC.m_CurrentVersion))
    {
        TakeLastError(FC, Manager);
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
        ObjectClose(&FC);
        ClearLastError(FC);
    }
    ++FC.m_uiCurrentObject;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    FC.m_bWriting = true;
    if (FC.m_uiCurrentObject == 1)
        return StartVersion(FC, Trace);
    FC.m_AreaObjectList.emplace_back(_time64(nullptr), FC.m_uiCurrentObject);
    return ZDV_SUCCESS;
}

ZDV_STATUS StartUpload(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Number(Level::Verbose, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    if (FC.m_uiCurrentObject == 0 || FC.m_uiCurrentObject > FC.m_AreaObjectList.size())
    {
        FunctionTrace(L"WriteData : Internal error - object count wrong")
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

ZDV_STATUS FailedWrite(const FtpContext& FC, const FunctionTrace& Trace)
{
    const DWORD dwLastError = GetLastError();
    if (PipeHasEnded(dwLastError) && FC.m_hUploadRead == INVALID_HANDLE_VALUE)
        // The worker has given up its end as its last act. Once it has left, why it failed is the host's.
        WaitForSingleObject(FC.m_hThread, INFINITE);
    if (dwLastError != ERROR_NO_DATA)
        FunctionTrace(L"WriteData : WriteFile failed").Number(Level::Error, L"dwLastError", dwLastError);
    else if (FC.m_hUploadRead == INVALID_HANDLE_VALUE)
        Trace.Information(L"Upload->Read pipe handle closed");
    else
        Trace.Error(L"WriteFile failed(No Data)");
    return ZDV_DEVICE_ERROR;
}

ZDV_STATUS SendBlocks(FtpContext& FC, const FunctionTrace& Trace, unsigned uiCount, const void* buffer)
{
    const auto* pData = static_cast<const char*>(buffer);
    const HANDLE hPipe = FC.m_hUploadWrite;
    DWORD dwBytesToWrite = uiCount * ZDV_BLOCK_SIZE;
    while (dwBytesToWrite != 0)
    {
        Trace.Number(Level::Verbose, L"dwBytesToWrite", dwBytesToWrite);
        DWORD dwBytesWritten = 0;
        if (!WriteFile(hPipe, pData, dwBytesToWrite, &dwBytesWritten, nullptr))
            return FailedWrite(FC, Trace);
        Trace.Number(Level::Verbose, L"dwBytesWritten", dwBytesWritten);
        dwBytesToWrite -= dwBytesWritten;
        pData += dwBytesWritten;
        FC.m_ullBytesWritten += dwBytesWritten;
    }
    return ZDV_SUCCESS;
}

} // namespace

ZDV_STATUS WriteData(FtpContext* pFC, unsigned uiCount, const void* buffer)
{
    const FunctionTrace Trace(L"WriteData");
    Trace.Starting();
    if (pFC == nullptr)
    {
        Trace.Error(L"... ending(ZDV_INVALID_HANDLE)");
        return ZDV_INVALID_HANDLE;
    }
    FtpContext& FC = *pFC;
    ClearLastError(FC);
    Trace.Number(Level::Verbose, L"uiCount", std::uint32_t{uiCount});
    Trace.Number(Level::Verbose, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
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
    uiRc = SendBlocks(FC, Trace, uiCount, buffer);
    // Also after a failed write: hosts count the blocks that they handed over.
    FC.m_uiCurrentBlock += uiCount;
    return Ended(L"WriteData : ... ending", uiRc);
}

ZDV_STATUS ZDV_WriteData(ZDV_HANDLE handle, std::uint32_t uiBytes, const void* buffer)
{
    return WithDevice(handle, L"ZDV_WriteData", [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiBytes", uiBytes);
        return Ended(L"ZDV_WriteData : ... ending", WriteData(&FC, WholeBlocks(uiBytes), buffer));
    });
}
