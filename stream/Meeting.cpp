#include "stream/Meeting.h"

namespace {

constexpr DWORD LOOK_STEP = 5000;      // milliseconds until the host is looked at again
constexpr DWORD CONNECT_LIMIT = 30000; // milliseconds that a worker looks for its host among strangers

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

} // namespace

// ------------------------------------------------------------------------------------------- host's thread

void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction)
{
    const HANDLE hClient = OpenPipe(Direction);
    if (hClient != INVALID_HANDLE_VALUE)
        CloseHandle(hClient);
    DisconnectNamedPipe(hServer);
}

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

Connection GiveUp(FtpContext& FC)
{
    const Connection enDecision = FC.m_enConnection.exchange(Connection::GivenUpByHost);
    AnnounceDecision();
    return enDecision;
}

// ------------------------------------------------------------------------------------------- worker

HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction)
{
    const ULONGLONG ullLimit = GetTickCount64() + CONNECT_LIMIT;
    DWORD dwLastError = ERROR_PIPE_BUSY;
    while (dwLastError == ERROR_PIPE_BUSY && GetTickCount64() < ullLimit &&
           FC.m_enConnection != Connection::GivenUpByHost)
    {
        WaitNamedPipeW(Direction.sPipeName, LOOK_STEP);
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
