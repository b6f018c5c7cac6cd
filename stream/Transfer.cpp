#include "stream/Transfer.h"

#include "catalogue/Label.h"
#include "catalogue/ServerUrl.h"
#include "common/FunctionTrace.h"
#include "common/Url.h"
#include "interface/CurlError.h"
#include "interface/LastError.h"
#include "stream/PipeEnds.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr DWORD WAIT_STEP = 5000; // milliseconds

void TraceLastError(const FtpContext& FC, const wchar_t* sEnding)
{
    FunctionTrace(sEnding).Text(Level::Error, L"pFC->m_sLastError", FC.m_sLastError);
}

ZDV_STATUS RefuseObject(FtpContext& FC, const TransferDirection& Direction)
{
    FC.m_dwLastError = ERROR_INVALID_PARAMETER;
    FC.m_sLastError = L"Invalid object id";
    TraceLastError(FC, Direction.sEnding);
    return ZDV_DEVICE_ERROR;
}

ZDV_STATUS SetObjectUrl(FtpContext& FC, const TransferDirection& Direction)
{
    const std::wstring sURL = ObjectUrl(FC);
    if (sURL.ends_with(ERROR_LABEL)) // objects without a label of their own would all share one file
        return RefuseObject(FC, Direction);
    FunctionTrace(Direction.sSetUrl).Location(L"sURL", sURL);
    if (CurlSucceeded(curl_easy_setopt(FC.m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sURL).c_str()),
                      L"Set URL option failed", FC.m_dwLastError, FC.m_sLastError))
        return ZDV_SUCCESS;
    TraceLastError(FC, Direction.sEnding);
    return ZDV_DEVICE_ERROR;
}

ZDV_STATUS FailPipe(FtpContext& FC, const wchar_t* sError, const wchar_t* sTrace)
{
    FC.m_dwLastError = GetLastError();
    FC.m_sLastError = sError;
    FunctionTrace(sTrace).Number(Level::Error, L"pFC->m_dwLastError", FC.m_dwLastError);
    return ZDV_DEVICE_ERROR;
}

// A new pipe can be opened at once, but a client that is there before ConnectNamedPipe makes that call fail.
// A disconnected one cannot be opened until the host's thread is inside ConnectNamedPipe. Only a pipe that
// had a client can be disconnected on every system, so it gets one for a moment.
void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction)
{
    const HANDLE hClient =
        CreateFileW(Direction.sPipeName, Direction.dwClientAccess, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hClient != INVALID_HANDLE_VALUE)
        CloseHandle(hClient);
    DisconnectNamedPipe(hServer);
}

bool CreatePipe(FtpContext& FC, const TransferDirection& Direction)
{
    // Prepared for a pipe that every account may open, but not passed on: host and worker are one account.
    SECURITY_DESCRIPTOR Descriptor;
    InitializeSecurityDescriptor(&Descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&Descriptor, TRUE, nullptr, FALSE);

    const HANDLE hServer = CreateNamedPipeW(Direction.sPipeName, Direction.dwServerMode,
                                            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1,
                                            ZDV_BLOCK_SIZE, ZDV_BLOCK_SIZE, 0, nullptr);
    FC.*Direction.hServer = hServer;
    FC.*Direction.hClient = INVALID_HANDLE_VALUE;
    return hServer != INVALID_HANDLE_VALUE;
}

ZDV_STATUS ConnectWorker(FtpContext& FC, const TransferDirection& Direction)
{
    const HANDLE hServer = FC.*Direction.hServer;
    HoldClientsBack(hServer, Direction);
    FC.m_hThread = CreateThread(nullptr, 0, Direction.Worker, &FC, 0, nullptr);
    if (!ConnectNamedPipe(hServer, nullptr))
        return FailPipe(FC, Direction.sCouldNotConnect, Direction.sConnectFailed);
    FC.*Direction.bRunning = true;
    return ZDV_SUCCESS;
}

bool HasTransfer(const FtpContext& FC, const TransferDirection& Direction)
{
    return FC.*Direction.bRunning || FC.*Direction.hServer != INVALID_HANDLE_VALUE;
}

void AwaitWorker(FtpContext& FC, const FunctionTrace& Trace, const TransferDirection& Direction)
{
    FunctionTrace(Direction.sStillActive).Number(Level::Verbose, L"dwThreadId", GetThreadId(FC.m_hThread));
    DWORD dwRc = WAIT_TIMEOUT;
    while ((dwRc = WaitForSingleObject(FC.m_hThread, WAIT_STEP)) == WAIT_TIMEOUT)
        Trace.Verbose(Direction.sWaiting);
    FunctionTrace(L"ObjectClose : WaitForSingleObject").Number(Level::Verbose, L"dwRc", dwRc);
    // The handle is not closed: support tools look up the last transfer's thread by it, also after its end.
    FC.m_hThread = nullptr;
}

// Waits until the host's thread is in ConnectNamedPipe, or the pipe is gone.
HANDLE OpenClientEnd(const TransferDirection& Direction)
{
    while (!WaitNamedPipeW(Direction.sPipeName, WAIT_STEP) && GetLastError() == ERROR_SEM_TIMEOUT)
        continue;
    return CreateFileW(Direction.sPipeName, Direction.dwClientAccess, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

bool RunSteps(FtpContext* pFC, CURL* pCurl, const FunctionTrace& Trace, std::span<const WorkerStep> Steps)
{
    for (const WorkerStep& Step : Steps)
    {
        if (Step.sTrace != nullptr)
            Trace.Verbose(Step.sTrace);
        if (!CurlSucceeded(Step.Run(pCurl, pFC), Step.sFailure, pFC->m_dwLastError, pFC->m_sLastError))
            return false;
    }
    return true;
}

} // namespace

ZDV_STATUS StartTransfer(FtpContext& FC, const TransferDirection& Direction)
{
    // What a connection that failed has left: a context has one worker, and never loses sight of it.
    if (HasTransfer(FC, UPLOAD) || HasTransfer(FC, DOWNLOAD))
    {
        EndTransfer(FC, UPLOAD);
        EndTransfer(FC, DOWNLOAD);
        ClearLastError(FC);
    }
    if (const ZDV_STATUS uiRc = SetObjectUrl(FC, Direction); uiRc != ZDV_SUCCESS)
        return uiRc;
    if (!CreatePipe(FC, Direction))
        return FailPipe(FC, Direction.sCouldNotCreate, Direction.sCreatePipeFailed);
    return ConnectWorker(FC, Direction);
}

void EndTransfer(FtpContext& FC, const TransferDirection& Direction)
{
    if (!HasTransfer(FC, Direction))
        return;
    const FunctionTrace Trace(L"ObjectClose");
    Trace.Verbose(Direction.sEnd);
    FC.*Direction.bRunning = false;
    CloseServerEnd(FC.*Direction.hServer, Trace, Direction.sClosePipe);
    if (FC.m_hThread != nullptr)
        AwaitWorker(FC, Trace, Direction);
}

bool HasSession(const FtpContext* pFC, const TransferDirection& Direction)
{
    const FunctionTrace Trace(Direction.sWorkerFunction);
    if (pFC == nullptr)
        Trace.Error(L"... ending(NULL argument)");
    else if (pFC->m_pCurl == nullptr)
        Trace.Error(L"... ending(bad argument)");
    return pFC != nullptr && pFC->m_pCurl != nullptr;
}

DWORD RunWorker(FtpContext* pFC, const TransferDirection& Direction, std::span<const WorkerStep> Steps)
{
    const FunctionTrace Trace(Direction.sWorkerFunction);
    CURL* const pCurl = pFC->m_pCurl; // taken before the host is let go: it may make the device ready anew
    const HANDLE hClient = OpenClientEnd(Direction);
    if (hClient == INVALID_HANDLE_VALUE)
        return FailPipe(*pFC, Direction.sCouldNotOpen, Direction.sOpenFailed);
    pFC->*Direction.hClient = hClient;
    if (!RunSteps(pFC, pCurl, Trace, Steps))
    {
        TraceLastError(*pFC, Direction.sWorkerEnding);
        return WORKER_FAILED;
    }
    Trace.Ending();
    return 0;
}
