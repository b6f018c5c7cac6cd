#include "stream/Transfer.h"

#include "catalogue/ServerUrl.h"
#include "common/FunctionTrace.h"
#include "common/Url.h"
#include "interface/CurlError.h"
#include "interface/LastError.h"
#include "stream/PipeEnds.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr DWORD WAIT_STEP = 5000;      // milliseconds
constexpr DWORD CONNECT_LIMIT = 30000; // milliseconds that a worker looks for its host among strangers

void TraceLastError(const FtpContext& FC, const wchar_t* sEnding)
{
    FunctionTrace(sEnding).Text(Level::Error, L"pFC->m_sLastError", FC.m_sLastError);
}

ZDV_STATUS RefuseObject(FtpContext& FC, const TransferDirection& Direction)
{
    AssignLastError(FC, {ERROR_INVALID_PARAMETER, L"Invalid object id"});
    TraceLastError(FC, Direction.sEnding);
    return ZDV_DEVICE_ERROR;
}

ZDV_STATUS SetObjectUrl(FtpContext& FC, const TransferDirection& Direction)
{
    // Objects without a label of their own would all share one file.
    if (FC.m_AreaObjectList[FC.m_uiCurrentObject - 1].m_uiObjectId >= AreaObject::FIRST_ID_WITHOUT_LABEL)
        return RefuseObject(FC, Direction);
    const std::wstring sURL = ObjectUrl(FC);
    FunctionTrace(Direction.sSetUrl).Location(L"sURL", sURL);
    if (CurlSucceeded(curl_easy_setopt(FC.m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sURL).c_str()),
                      L"Set URL option failed", FC.m_dwLastError, FC.m_sLastError))
        return ZDV_SUCCESS;
    TraceLastError(FC, Direction.sEnding);
    return ZDV_DEVICE_ERROR;
}

ZDV_STATUS FailPipe(const FtpContext& FC, const wchar_t* sTrace)
{
    FunctionTrace(sTrace).Number(Level::Error, L"pFC->m_dwLastError", FC.m_dwLastError);
    return ZDV_DEVICE_ERROR;
}

bool Decide(FtpContext& FC, Connection enDecision)
{
    Connection enAwaited = Connection::Awaited;
    return FC.m_enConnection.compare_exchange_strong(enAwaited, enDecision) || enAwaited == enDecision;
}

SRWLOCK g_DecisionLock = SRWLOCK_INIT;
CONDITION_VARIABLE g_Decided = CONDITION_VARIABLE_INIT;

// Wakes a worker that waits for the host's decision. Without the lock it could fall asleep just behind it.
void AnnounceDecision()
{
    AcquireSRWLockExclusive(&g_DecisionLock);
    ReleaseSRWLockExclusive(&g_DecisionLock);
    WakeAllConditionVariable(&g_Decided);
}

// Who is at the other end of a pipe.
bool IsThisProcess(BOOL(WINAPI* askPipe)(HANDLE, PULONG), HANDLE hPipe)
{
    ULONG ulProcess = 0;
    return askPipe(hPipe, &ulProcess) && ulProcess == GetCurrentProcessId();
}

// Whose pipe it is shows only when it is open: until then a stranger gets no token to act with.
HANDLE OpenPipe(const TransferDirection& Direction)
{
    return CreateFileW(Direction.sPipeName, Direction.dwClientAccess, 0, nullptr, OPEN_EXISTING,
                       SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr);
}

// A new pipe can be opened at once, but a client that is there before ConnectNamedPipe makes that call fail.
// A disconnected one cannot be opened until the host's thread is inside ConnectNamedPipe. Only a pipe that
// had a client can be disconnected on every system, so it gets one for a moment.
void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction)
{
    const HANDLE hClient = OpenPipe(Direction);
    if (hClient != INVALID_HANDLE_VALUE)
        CloseHandle(hClient);
    DisconnectNamedPipe(hServer);
}

std::atomic<const FtpContext*> g_pUploader = nullptr, g_pDownloader = nullptr;

// The device that has the process's one transfer of a direction.
std::atomic<const FtpContext*>& Owner(const TransferDirection& Direction)
{
    return Direction.hServer == UPLOAD.hServer ? g_pUploader : g_pDownloader;
}

bool Own(const FtpContext& FC, const TransferDirection& Direction)
{
    const FtpContext* pOwner = nullptr;
    return Owner(Direction).compare_exchange_strong(pOwner, &FC);
}

void Disown(const FtpContext& FC, const TransferDirection& Direction)
{
    const FtpContext* pOwner = &FC;
    Owner(Direction).compare_exchange_strong(pOwner, nullptr);
}

// ERROR_SUCCESS, or why there is none.
DWORD CreatePipe(FtpContext& FC, const TransferDirection& Direction)
{
    if (!Own(FC, Direction))
        return ERROR_PIPE_BUSY;
    // Prepared for a pipe that every account may open, but not passed on: host and worker are one account.
    SECURITY_DESCRIPTOR Descriptor;
    InitializeSecurityDescriptor(&Descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&Descriptor, TRUE, nullptr, FALSE);

    const HANDLE hServer = CreateNamedPipeW(Direction.sPipeName, Direction.dwServerMode,
                                            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT |
                                                PIPE_REJECT_REMOTE_CLIENTS, // their process is what they say
                                            1, ZDV_BLOCK_SIZE, ZDV_BLOCK_SIZE, 0, nullptr);
    const DWORD dwLastError = hServer != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError();
    FC.*Direction.hServer = hServer;
    FC.*Direction.hClient = INVALID_HANDLE_VALUE;
    if (dwLastError != ERROR_SUCCESS)
        Disown(FC, Direction);
    return dwLastError;
}

// Lets clients in until the worker is there. ERROR_SUCCESS, or why it is not.
DWORD AwaitClient(FtpContext& FC, HANDLE hServer)
{
    while (FC.m_enConnection == Connection::Awaited)
    {
        if (!ConnectNamedPipe(hServer, nullptr))
            return GetLastError();
        if (IsThisProcess(GetNamedPipeClientProcessId, hServer) && Decide(FC, Connection::Made))
        {
            AnnounceDecision();
            return ERROR_SUCCESS;
        }
        DisconnectNamedPipe(hServer);
    }
    return ERROR_PIPE_NOT_CONNECTED;
}

// Pipe and thread are left to ObjectClose. A worker that has given up leaves its reason, and calls this thread
// until it hears of it.
ZDV_STATUS FailConnection(FtpContext& FC, const TransferDirection& Direction, DWORD dwLastError)
{
    const Connection enDecision = FC.m_enConnection.exchange(Connection::GivenUpByHost);
    AnnounceDecision();
    if (enDecision == Connection::GivenUpByWorker)
        WaitForSingleObject(FC.m_hThread, INFINITE);
    else
        AssignLastError(FC, {dwLastError, Direction.sCouldNotConnect});
    return FailPipe(FC, Direction.sConnectFailed);
}

// ERROR_SUCCESS, or why the worker is not there.
DWORD MeetWorker(FtpContext& FC, const TransferDirection& Direction)
{
    const HANDLE hServer = FC.*Direction.hServer;
    HoldClientsBack(hServer, Direction);
    FC.m_enConnection = Connection::Awaited;
    FC.m_hThread = CreateThread(nullptr, 0, Direction.Worker, &FC, 0, nullptr);
    return FC.m_hThread != nullptr ? AwaitClient(FC, hServer) : GetLastError();
}

ZDV_STATUS ConnectWorker(FtpContext& FC, const TransferDirection& Direction)
{
    // Made before the worker is: it could not do without, and then nobody could call this thread.
    if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &FC.m_hHostThread,
                         THREAD_TERMINATE, FALSE, 0))
        return FailConnection(FC, Direction, GetLastError());
    const DWORD dwLastError = MeetWorker(FC, Direction);
    FC.*Direction.bRunning = dwLastError == ERROR_SUCCESS;
    const ZDV_STATUS uiRc =
        dwLastError == ERROR_SUCCESS ? ZDV_SUCCESS : FailConnection(FC, Direction, dwLastError);
    CloseHandle(FC.m_hHostThread);
    return uiRc;
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

// Whether the host takes the client that has just come for its worker. It is about to say so.
bool IsWelcome(const FtpContext& FC, ULONGLONG ullLimit)
{
    AcquireSRWLockExclusive(&g_DecisionLock);
    for (ULONGLONG ullNow = GetTickCount64(); FC.m_enConnection == Connection::Awaited && ullNow < ullLimit;
         ullNow = GetTickCount64())
        SleepConditionVariableSRW(&g_Decided, &g_DecisionLock, static_cast<DWORD>(ullLimit - ullNow), 0);
    ReleaseSRWLockExclusive(&g_DecisionLock);
    return FC.m_enConnection == Connection::Made;
}

// The host's pipe, once the host's thread is in ConnectNamedPipe. Busy is a pipe while a stranger has it, or
// has one of its own of that name.
HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction)
{
    const ULONGLONG ullLimit = GetTickCount64() + CONNECT_LIMIT;
    DWORD dwLastError = ERROR_PIPE_BUSY;
    while (dwLastError == ERROR_PIPE_BUSY && GetTickCount64() < ullLimit &&
           FC.m_enConnection != Connection::GivenUpByHost)
    {
        WaitNamedPipeW(Direction.sPipeName, WAIT_STEP);
        const HANDLE hClient = OpenPipe(Direction);
        if (hClient == INVALID_HANDLE_VALUE)
        {
            dwLastError = GetLastError();
            continue;
        }
        if (IsThisProcess(GetNamedPipeServerProcessId, hClient) && IsWelcome(FC, ullLimit))
            return hClient;
        CloseHandle(hClient);
    }
    SetLastError(dwLastError);
    return INVALID_HANDLE_VALUE;
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
    if (const DWORD dwLastError = CreatePipe(FC, Direction); dwLastError != ERROR_SUCCESS)
    {
        AssignLastError(FC, {dwLastError, Direction.sCouldNotCreate});
        return FailPipe(FC, Direction.sCreatePipeFailed);
    }
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
    Disown(FC, Direction);
    if (FC.m_hThread != nullptr)
        AwaitWorker(FC, Trace, Direction);
}

void LeaveHost(FtpContext& FC)
{
    if (!Decide(FC, Connection::GivenUpByWorker))
        return;
    // More than once: the host's thread may be on its way into ConnectNamedPipe. It does nothing else until it
    // has seen this.
    while (FC.m_enConnection == Connection::GivenUpByWorker)
    {
        CancelSynchronousIo(FC.m_hHostThread);
        Sleep(1);
    }
}

void StoreWorkerError(FtpContext& FC, const Failure& Reason) noexcept
{
    if (Decide(FC, Connection::GivenUpByWorker) || FC.m_enConnection == Connection::Made)
        AssignLastError(FC, Reason);
}

bool HasSession(FtpContext* pFC, const TransferDirection& Direction)
{
    const FunctionTrace Trace(Direction.sWorkerFunction);
    if (pFC == nullptr)
        Trace.Error(L"... ending(NULL argument)");
    else if (pFC->m_pCurl == nullptr)
    {
        StoreWorkerError(*pFC, {ERROR_INVALID_PARAMETER, L"bad argument"});
        Trace.Error(L"... ending(bad argument)");
    }
    return pFC != nullptr && pFC->m_pCurl != nullptr;
}

DWORD RunWorker(FtpContext* pFC, const TransferDirection& Direction, std::span<const WorkerStep> Steps)
{
    const FunctionTrace Trace(Direction.sWorkerFunction);
    CURL* const pCurl = pFC->m_pCurl; // taken before the host is let go: it may make the device ready anew
    const HANDLE hClient = OpenClientEnd(*pFC, Direction);
    if (hClient == INVALID_HANDLE_VALUE)
    {
        const DWORD dwLastError = GetLastError();
        FunctionTrace(Direction.sOpenFailed).Number(Level::Error, L"pFC->m_dwLastError", dwLastError);
        StoreWorkerError(*pFC, {dwLastError, Direction.sCouldNotOpen});
        return ZDV_DEVICE_ERROR;
    }
    pFC->*Direction.hClient = hClient;
    if (!RunSteps(pFC, pCurl, Trace, Steps))
    {
        TraceLastError(*pFC, Direction.sWorkerEnding);
        return WORKER_FAILED;
    }
    Trace.Ending();
    return 0;
}
