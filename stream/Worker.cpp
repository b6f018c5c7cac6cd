#include "stream/Worker.h"

#include "common/MemoryReserve.h"
#include "common/ScopeExit.h"
#include "device/CurlCallback.h"
#include "device/CurlCalls.h"
#include "stream/Meeting.h"
#include "stream/PipeEnds.h"

#include <cctype>
#include <openssl/crypto.h>

using quorvel::FunctionTrace;
using quorvel::Level;
using quorvel::ScopeExit;

namespace {

std::size_t Abort(const FunctionTrace& Trace, const wchar_t* sReason)
{
    Trace.Error(sReason);
    return ABORT_TRANSFER;
}

// ------------------------------------------------------------------------------------------- upload

std::size_t UploadReadFailed(const FtpContext& FC, const FunctionTrace& Trace)
{
    const DWORD dwLastError = GetLastError();
    if (dwLastError == ERROR_BROKEN_PIPE || dwLastError == ERROR_PIPE_NOT_CONNECTED)
    {
        Trace.Number(L"pFC->m_ullBytesRead", FC.m_ullBytesRead);
        Trace.Information(L"... ending(EOF)");
        return 0; // nothing is lost: an object is whole blocks, and a block is whole buffers of libcurl
    }
    Trace.At(L"... ending(ReadFile failed)").Number(Level::Error, L"dwLastError", dwLastError);
    return ABORT_TRANSFER;
}

// libcurl wants data to send. Blocks until its buffer is full, however many writes of the host that takes.
std::size_t ReadCallback(char* buffer, std::size_t size, std::size_t nitems, void* pUserData)
{
    return GuardedCallback(L"ReadCallback", [&](const FunctionTrace& Trace) -> std::size_t {
        auto* const pFC = static_cast<FtpContext*>(pUserData);
        if (pFC == nullptr)
            return Abort(Trace, L"... ending(NULL argument)");
        const HANDLE hPipe = pFC->m_hUploadRead;
        if (hPipe == INVALID_HANDLE_VALUE)
            return Abort(Trace, L"... ending(bad Upload->Read pipe handle)");
        const std::size_t uiSize = size * nitems;
        if (!ReadPipe(Trace, hPipe, buffer, static_cast<DWORD>(uiSize), pFC->m_ullBytesRead))
            return UploadReadFailed(*pFC, Trace);
        Trace.At(quorvel::ENDING).Number(L"size * nitems", uiSize);
        return uiSize;
    });
}

CURLcode PerformUpload(CURL* pCurl, const FunctionTrace& Trace)
{
    const CURLcode enCurlRc = PerformChecked(pCurl);
    if (enCurlRc == CURLE_OK)
        Trace.Verbose(L"EOF");
    return enCurlRc;
}

// After a failed transfer the handle stays in upload mode, so that listings fail until the device is made ready
// again: fixed by the interface.
void Upload(CurlCalls& Calls, FtpContext* pFC)
{
    Calls.Set(CURLOPT_DIRLISTONLY, 0L, L"Set directory list only option failed",
              L"curl_easy_setopt(CURLOPT_DIRLISTONLY, FALSE)");
    Calls.Set(CURLOPT_READFUNCTION, &ReadCallback, L"Set read function option failed",
              L"curl_easy_setopt(CURLOPT_READFUNCTION)");
    Calls.Set(CURLOPT_READDATA, pFC, L"Set read data option failed", L"curl_easy_setopt(CURLOPT_READDATA)");
    Calls.Set(CURLOPT_UPLOAD, 1L, L"Set upload option failed", L"curl_easy_setopt(CURLOPT_UPLOAD, TRUE)");
    Calls.Call([&](CURL* pCurl) { return PerformUpload(pCurl, Calls.Trace()); }, L"Perform operation failed",
               L"curl_easy_perform");
    Calls.Set(CURLOPT_UPLOAD, 0L, L"Unset upload option failed", L"curl_easy_setopt(CURLOPT_UPLOAD, FALSE)");
}

// ------------------------------------------------------------------------------------------- download

std::size_t DownloadWriteFailed(const FtpContext& FC, const FunctionTrace& Trace, std::size_t uiSize)
{
    const DWORD dwLastError = GetLastError();
    const bool bClosed = FC.m_hDownloadRead == INVALID_HANDLE_VALUE;
    // The host disconnects the pipe and then closes it. Either may be what this call finds.
    if (bClosed && (dwLastError == ERROR_NO_DATA || dwLastError == ERROR_PIPE_NOT_CONNECTED))
    {
        Trace.Information(L"Download->Read pipe handle closed");
        return 0;
    }
    if (dwLastError != ERROR_NO_DATA)
    {
        Trace.At(L"... ending(WriteFile failed)").Number(Level::Error, L"dwLastError", dwLastError);
        return ABORT_TRANSFER;
    }
    // Fixed by the interface: while the host's end is open, the object goes on without this piece.
    Trace.Error(L"WriteFile failed(No Data)");
    return uiSize;
}

// libcurl has data. Blocks until the host has taken it.
std::size_t WriteCallback(char* data, std::size_t size, std::size_t nmemb, void* pUserData)
{
    return GuardedCallback(L"WriteCallback", [&](const FunctionTrace& Trace) -> std::size_t {
        auto* const pFC = static_cast<FtpContext*>(pUserData);
        if (pFC == nullptr || pFC->m_pCurl == nullptr)
            return Abort(Trace, L"... ending(NULL argument)");
        const HANDLE hPipe = pFC->m_hDownloadWrite;
        if (hPipe == INVALID_HANDLE_VALUE)
            return Abort(Trace, L"... ending(bad Download->Write pipe handle)");
        const std::size_t uiSize = size * nmemb;
        if (!WritePipe(Trace, hPipe, data, static_cast<DWORD>(uiSize), pFC->m_ullBytesWritten))
            return DownloadWriteFailed(*pFC, Trace, uiSize);
        Trace.Ending();
        return uiSize;
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
        auto* const pFC = static_cast<FtpContext*>(pUserData);
        if (pFC == nullptr || pFC->m_pCurl == nullptr)
            return Abort(Trace, L"... ending(NULL argument)");
        TraceHeaders(Trace, std::string_view(data, size * nitems));
        Trace.Ending();
        return size * nitems;
    });
}

CURLcode PerformDownload(CURL* pCurl, const FunctionTrace& Trace, const FtpContext& FC)
{
    CURLcode enCurlRc = PerformChecked(pCurl);
    if (enCurlRc == CURLE_WRITE_ERROR && FC.m_hDownloadRead == INVALID_HANDLE_VALUE)
    {
        // The host has closed the object before its end, to skip a filemark or to position the tape.
        Trace.Verbose(L"Download->Read pipe closed before Download->Write pipe finished");
        enCurlRc = CURLE_OK;
    }
    if (enCurlRc == CURLE_OK)
        Trace.Verbose(L"EOF");
    return enCurlRc;
}

void Download(CurlCalls& Calls, FtpContext* pFC)
{
    Calls.Set(CURLOPT_DIRLISTONLY, 0L, L"Set directory list only option failed",
              L"curl_easy_setopt(CURLOPT_DIRLISTONLY, FALSE)");
    Calls.Set(CURLOPT_HEADERFUNCTION, &HeaderCallback, L"Set header callback option failed",
              L"curl_easy_setopt(CURLOPT_HEADERFUNCTION)");
    Calls.Set(CURLOPT_HEADERDATA, pFC, L"Set header data option failed",
              L"curl_easy_setopt(CURLOPT_HEADERDATA )");
    Calls.Set(CURLOPT_WRITEFUNCTION, &WriteCallback, L"Set write function option failed",
              L"curl_easy_setopt(CURLOPT_WRITEFUNCTION)");
    Calls.Set(CURLOPT_WRITEDATA, pFC, L"Set write data option failed",
              L"curl_easy_setopt(CURLOPT_WRITEDATA)");
    // A failed upload leaves the handle in upload mode, and that would empty the object to be read.
    Calls.Set(CURLOPT_UPLOAD, 0L, L"Unset upload option failed");
    Calls.Call([&](CURL* pCurl) { return PerformDownload(pCurl, Calls.Trace(), *pFC); },
               L"Perform operation failed", L"curl_easy_perform");
}

// ------------------------------------------------------------------------------------------- thread

constexpr DWORD WORKER_FAILED = 0xFFFFFFFF;

using LibcurlCalls = void (*)(CurlCalls& Calls, FtpContext* pFC);

// False, traced and stored, for a context that no transfer can run on.
bool HasSession(FtpContext* pFC, const FunctionTrace& Trace)
{
    if (pFC == nullptr)
        return Trace.Failed(L"... ending(NULL argument)");
    if (pFC->m_pCurl != nullptr)
        return true;
    StoreWorkerFailure(*pFC, {ERROR_INVALID_PARAMETER, L"bad argument"});
    return Trace.Failed(L"... ending(bad argument)");
}

DWORD RunTransfer(FtpContext* pFC, const FunctionTrace& Trace, const TransferDirection& Direction,
                  LibcurlCalls transfer)
{
    // Read while the host still waits: later it may make the device ready again.
    CURL* const pCurl = pFC->m_pCurl;
    const HANDLE hClient = OpenClientEnd(*pFC, Direction);
    if (hClient == INVALID_HANDLE_VALUE)
    {
        const DWORD dwLastError = GetLastError();
        Trace.At(L"CreateFile failed").Number(Level::Error, L"pFC->m_dwLastError", dwLastError);
        StoreWorkerFailure(*pFC, {dwLastError, Direction.sCouldNotOpen});
        return ZDV_DEVICE_ERROR;
    }
    pFC->*Direction.hClient = hClient;
    CurlCalls Calls(pCurl, Trace);
    transfer(Calls, pFC);
    if (!Calls.Succeeded())
    {
        StoreFailure(*pFC, Calls.Reason());
        Trace.At(quorvel::ENDING).Text(Level::Error, L"pFC->m_sLastError", pFC->m_sLastError);
        return WORKER_FAILED;
    }
    Trace.Ending();
    return 0;
}

// PipeEnd closes the worker's end of the pipe however the thread ends, and after all calls of libcurl and OpenSSL: to
// the host this is the end of the transfer.
template <typename PipeEnd>
DWORD RunWorker(LPVOID pArgument, const TransferDirection& Direction, LibcurlCalls transfer)
{
    const FunctionTrace Trace(Direction.sWorkerFunction);
    auto* const pFC = static_cast<FtpContext*>(pArgument);
    const ScopeExit Leave([pFC] {
        if (pFC != nullptr)
            LeaveHost(*pFC);
    });
    const PipeEnd Guard(pFC);
    // Linked statically, OpenSSL does not notice a thread's end.
    const ScopeExit FreeOpenSsl([] { OPENSSL_thread_stop(); });
    quorvel::KeepMemoryReserve();
    try
    {
        Trace.Starting();
        return HasSession(pFC, Trace) ? RunTransfer(pFC, Trace, Direction, transfer) : WORKER_FAILED;
    }
    catch (...)
    {
        Trace.Exception();
        if (pFC != nullptr)
            StoreWorkerFailure(*pFC, ExceptionFailure());
        return WORKER_FAILED;
    }
}

} // namespace

DWORD WINAPI ThreadWriter(LPVOID pArgument) { return RunWorker<PipeReadThunk>(pArgument, UPLOAD, Upload); }

DWORD WINAPI ThreadReader(LPVOID pArgument)
{
    return RunWorker<PipeWriteThunk>(pArgument, DOWNLOAD, Download);
}
