// ZDV_ReadData, and the download: ReadData on the host's thread, ThreadReader with its callbacks on the
// worker.
#include "stream/ReadData.h"

#include "interface/CurlCallback.h"
#include "interface/LastError.h"
#include "stream/Blocks.h"
#include "stream/ObjectClose.h"
#include "stream/PipeEnds.h"
#include "stream/Transfer.h"
#include "stream/Worker.h"

#include <cctype>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

DWORD WINAPI ThreadReader(LPVOID pArgument);

} // namespace

const TransferDirection DOWNLOAD = {
    .sPipeName = L"\\\\.\\pipe\\ZDV_FTP_DOWNLOAD",
    .dwServerMode = PIPE_ACCESS_INBOUND,
    .dwClientAccess = GENERIC_WRITE,
    .hServer = &FtpContext::m_hDownloadRead,
    .hClient = &FtpContext::m_hDownloadWrite,
    .bRunning = &FtpContext::m_bGetData,
    .Worker = ThreadReader,
    .sSetUrl = L"ReadData : curl_easy_setopt(CURLOPT_URL)",
    .sEnding = L"ReadData : ... ending",
    .sCreatePipeFailed = L"ReadData : CreatePipe failed",
    .sCouldNotCreate = L"Couldn't create Download->Read pipe",
    .sConnectFailed = L"ReadData : ConnectNamedPipe failed",
    .sCouldNotConnect = L"Couldn't connect Download->Read pipe",
    .sWorkerFunction = L"ThreadReader",
    .sWorkerEnding = L"ThreadReader : ... ending",
    .sOpenFailed = L"ThreadReader : CreateFile failed",
    .sCouldNotOpen = L"Couldn't create Download->Write pipe",
    .sEnd = L"End Get Data",
    .sClosePipe = L"Close Pipe(Read)",
    .sStillActive = L"ObjectClose : ThreadReader still active ...",
    .sWaiting = L"Waiting for ThreadReader to finish ...",
};

namespace {

// ------------------------------------------------------------------------------------------- worker

// A callback of the download runs on a live session only.
bool HasArgument(const FtpContext* pFC, const FunctionTrace& Trace)
{
    if (pFC != nullptr && pFC->m_pCurl != nullptr)
        return true;
    Trace.Error(L"... ending(NULL argument)");
    return false;
}

std::size_t FailedWrite(const FtpContext* pFC, const FunctionTrace& Trace, DWORD dwBytesWritten,
                        std::size_t uiSize)
{
    const DWORD dwLastError = GetLastError();
    const bool bClosed = pFC->m_hDownloadRead == INVALID_HANDLE_VALUE;
    // The host's disconnect comes first, its close second; which of them this call meets is chance.
    if (bClosed && (dwLastError == ERROR_NO_DATA || dwLastError == ERROR_PIPE_NOT_CONNECTED))
    {
        Trace.Information(L"Download->Read pipe handle closed");
        return dwBytesWritten;
    }
    if (dwLastError != ERROR_NO_DATA)
    {
        FunctionTrace(L"WriteCallback : ... ending(WriteFile failed)")
            .Number(Level::Error, L"dwLastError", dwLastError);
        return ABORT_TRANSFER;
    }
    // The host holds its end open and counts on the object going on, be it without this piece.
    Trace.Error(L"WriteFile failed(No Data)");
    return uiSize;
}

std::size_t PassOn(FtpContext* pFC, const FunctionTrace& Trace, const char* data, std::size_t uiSize)
{
    const HANDLE hPipe = pFC->m_hDownloadWrite;
    auto dwBytesToWrite = static_cast<DWORD>(uiSize);
    while (dwBytesToWrite != 0)
    {
        Trace.Number(Level::Verbose, L"dwBytesToWrite", dwBytesToWrite);
        DWORD dwBytesWritten = 0;
        if (!WriteFile(hPipe, data, dwBytesToWrite, &dwBytesWritten, nullptr))
            return FailedWrite(pFC, Trace, dwBytesWritten, uiSize);
        Trace.Number(Level::Verbose, L"dwBytesWritten", dwBytesWritten);
        data += dwBytesWritten;
        pFC->m_ullBytesWritten += dwBytesWritten;
        dwBytesToWrite -= dwBytesWritten;
    }
    Trace.Ending();
    return uiSize;
}

// libcurl has data. Blocks until the host has taken it.
std::size_t WriteCallback(char* data, std::size_t size, std::size_t nmemb, void* pUserData)
{
    return GuardedCallback(L"WriteCallback", [&](const FunctionTrace& Trace) -> std::size_t {
        Trace.Starting();
        auto* const pFC = static_cast<FtpContext*>(pUserData);
        if (!HasArgument(pFC, Trace))
            return ABORT_TRANSFER;
        if (pFC->m_hDownloadWrite == INVALID_HANDLE_VALUE)
        {
            Trace.Error(L"... ending(bad Download->Write pipe handle)");
            return ABORT_TRANSFER;
        }
        return PassOn(pFC, Trace, data, size * nmemb);
    });
}

void TraceHeaders(const FunctionTrace& Trace, std::string_view sHeaders)
{
    std::string sHeader;
    for (const char c : sHeaders)
    {
        if (c == '\r')
            continue;
        if (c == '\n')
        {
            Trace.Text(Level::Information, L"sHeader", sHeader);
            sHeader.clear();
            continue;
        }
        sHeader += std::isprint(static_cast<unsigned char>(c)) ? c : '.';
    }
}

// The server's answers, for the log only.
std::size_t HeaderCallback(char* data, std::size_t size, std::size_t nitems, void* pUserData)
{
    return GuardedCallback(L"HeaderCallback", [&](const FunctionTrace& Trace) -> std::size_t {
        Trace.Starting();
        if (!HasArgument(static_cast<FtpContext*>(pUserData), Trace))
            return ABORT_TRANSFER;
        TraceHeaders(Trace, std::string_view(data, size * nitems));
        Trace.Ending();
        return size * nitems;
    });
}

CURLcode PerformDownload(CURL* pCurl, FtpContext* pFC)
{
    const FunctionTrace Trace(L"ThreadReader");
    CURLcode enCurlRc = curl_easy_perform(pCurl);
    if (enCurlRc == CURLE_WRITE_ERROR && pFC->m_hDownloadRead == INVALID_HANDLE_VALUE)
    {
        // The host closed the object before its end: a filemark skipped, a repositioning.
        Trace.Verbose(L"Download->Read pipe closed before Download->Write pipe finished");
        enCurlRc = CURLE_OK;
    }
    if (enCurlRc == CURLE_OK)
        Trace.Verbose(L"EOF");
    return enCurlRc;
}

constexpr WorkerStep STEPS[] = {
    {L"curl_easy_setopt(CURLOPT_DIRLISTONLY, FALSE)", L"Set directory list only option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_DIRLISTONLY, 0L); }},
    {L"curl_easy_setopt(CURLOPT_HEADERFUNCTION)", L"Set header callback option failed",
     [](CURL* pCurl, FtpContext*) {
         return curl_easy_setopt(pCurl, CURLOPT_HEADERFUNCTION, &HeaderCallback);
     }},
    {L"curl_easy_setopt(CURLOPT_HEADERDATA )", L"Set header data option failed",
     [](CURL* pCurl, FtpContext* pFC) { return curl_easy_setopt(pCurl, CURLOPT_HEADERDATA, pFC); }},
    {L"curl_easy_setopt(CURLOPT_WRITEFUNCTION)", L"Set write function option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_WRITEFUNCTION, &WriteCallback); }},
    {L"curl_easy_setopt(CURLOPT_WRITEDATA)", L"Set write data option failed",
     [](CURL* pCurl, FtpContext* pFC) { return curl_easy_setopt(pCurl, CURLOPT_WRITEDATA, pFC); }},
    // A failed upload leaves the handle in upload mode, and that would empty the object to be read.
    {nullptr, L"Unset upload option failed",
     [](CURL* pCurl, FtpContext*) { return curl_easy_setopt(pCurl, CURLOPT_UPLOAD, 0L); }},
    {L"curl_easy_perform", L"Perform operation failed", PerformDownload},
};

DWORD WINAPI ThreadReader(LPVOID pArgument)
{
    return WorkerThread<PipeWriteThunk>(pArgument, DOWNLOAD, STEPS);
}

// ------------------------------------------------------------------------------------------- host's thread

bool IsBlank(const FtpContext& FC)
{
    return !FC.m_bGetData && FC.m_uiCurrentObject == 0 && FC.m_uiCurrentBlock == 0 &&
           FC.m_AreaObjectList.empty();
}

ZDV_STATUS ReportFileMark(FtpContext& FC, const FunctionTrace& Trace)
{
    FC.m_bFileMarkPending = false;
    FC.m_bAtFileMark = true;
    ObjectClose(&FC);
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
        ObjectClose(&FC);
        // An upload that this has ended may have failed: the host has to hear of it before its error is forgotten.
        if (FC.m_dwLastError != ERROR_SUCCESS)
            return ZDV_DEVICE_ERROR;
    }
    Trace.Verbose(L"pFC->m_uiCurrentObject++");
    ++FC.m_uiCurrentObject;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    return StartTransfer(FC, DOWNLOAD);
}

// The pipe has no more data, or failed. What is left of the request stays unfilled.
ZDV_STATUS FailedRead(FtpContext& FC, const FunctionTrace& Trace)
{
    const DWORD dwLastError = GetLastError();
    if (dwLastError != ERROR_BROKEN_PIPE)
    {
        FunctionTrace(L"ReadData : ReadFile failed").Number(Level::Error, L"dwLastError", dwLastError);
        StoreLastError(FC, {ERROR_INVALID_PARAMETER, L"ReadFile failed"});
        FC.m_bAtFileMark = false;
        return ZDV_DEVICE_ERROR;
    }
    // The filemark stays pending behind a short read that has reported it: hosts take the first report as the
    // end of the data and the second as the mark itself.
    Trace.Verbose(L"EOF - set At FileMark");
    FC.m_bFileMarkPending = true;
    FC.m_bAtFileMark = true;
    ObjectClose(&FC);
    Trace.Information(L"Hit FileMark");
    return ZDV_FILEMARK_REACHED;
}

ZDV_STATUS ReceiveBlocks(FtpContext& FC, const FunctionTrace& Trace, unsigned uiCount, void* buffer)
{
    auto* pData = static_cast<char*>(buffer);
    const HANDLE hPipe = FC.m_hDownloadRead;
    DWORD dwBytesToRead = uiCount * ZDV_BLOCK_SIZE;
    while (dwBytesToRead != 0)
    {
        Trace.Number(Level::Verbose, L"dwBytesToRead", dwBytesToRead);
        DWORD dwBytesRead = 0;
        if (!ReadFile(hPipe, pData, dwBytesToRead, &dwBytesRead, nullptr))
            return FailedRead(FC, Trace);
        Trace.Number(Level::Verbose, L"dwBytesRead", dwBytesRead);
        dwBytesToRead -= dwBytesRead;
        pData += dwBytesRead;
        FC.m_ullBytesRead += dwBytesRead;
    }
    FC.m_bAtFileMark = false;
    return ZDV_SUCCESS;
}

// A header is taken as read in full after one read, however much of it that returned: hosts read a header
// with one call, into a buffer of the size they know it to have.
void ApplyHeaderRule(FtpContext& FC)
{
    const bool bVolumeHeader = FC.m_uiCurrentObject == 1;
    if (!bVolumeHeader && (FC.m_uiCurrentObject + 1) % 3 != 0)
        return;
    FunctionTrace(bVolumeHeader ? L"ReadData : VH read in full" : L"ReadData : AH read in full")
        .Number(Level::Information, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    FunctionTrace(bVolumeHeader ? L"ReadData : VH" : L"ReadData : AH")
        .Number(Level::Information, L"pFC->m_ullBytesRead", FC.m_ullBytesRead);
    FC.m_bFileMarkPending = true;
}

ZDV_STATUS ReadObject(FtpContext& FC, const FunctionTrace& Trace, unsigned uiCount, void* buffer)
{
    const ZDV_STATUS uiRc = ReceiveBlocks(FC, Trace, uiCount, buffer);
    if (uiRc != ZDV_DEVICE_ERROR)
        FC.m_uiCurrentBlock += uiCount;
    ApplyHeaderRule(FC);
    if (uiRc == ZDV_SUCCESS)
        FC.m_bOkToWrite = false;
    return Ended(L"ReadData : ... ending", uiRc);
}

} // namespace

ZDV_STATUS ReadData(FtpContext* pFC, unsigned uiCount, void* buffer)
{
    const FunctionTrace Trace(L"ReadData");
    Trace.Starting();
    if (pFC == nullptr)
    {
        Trace.Error(L"... ending(ZDV_INVALID_HANDLE)");
        return ZDV_INVALID_HANDLE;
    }
    FtpContext& FC = *pFC;
    ClearLastError(FC);
    Trace.Number(Level::Verbose, L"uiCount", std::uint32_t{uiCount});
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
    return WithDevice(handle, L"ZDV_ReadData", [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiBytes", uiBytes);
        return Ended(L"ZDV_ReadData : ... ending", ReadData(&FC, WholeBlocks(uiBytes), buffer));
    });
}
