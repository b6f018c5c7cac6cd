#include "stream/Meeting.h"

namespace {

constexpr DWORD LOOK_STEP = 5000; // milliseconds until a worker looks again whether its host has given up
constexpr DWORD CONNECT_LIMIT = 30000; // milliseconds that a worker looks for its host among strangers

SRWLOCK g_StateLock = SRWLOCK_INIT;
CONDITION_VARIABLE g_StateChanged = CONDITION_VARIABLE_INIT;

// The only writer of the state. False if the state is no longer enFrom. Wakes a worker that waits for the host. Without
// the lock the worker could look at the state just before the change and fall asleep just after it.
bool MoveTo(FtpContext& FC, Meeting enFrom, Meeting enTo)
{
    if (!FC.m_enMeeting.compare_exchange_strong(enFrom, enTo))
        return false;
    AcquireSRWLockExclusive(&g_StateLock);
    ReleaseSRWLockExclusive(&g_StateLock);
    WakeAllConditionVariable(&g_StateChanged);
    return true;
}

// Whether the process at the other end of a pipe is this one.
bool IsThisProcess(BOOL(WINAPI* askPipe)(HANDLE, PULONG), HANDLE hPipe)
{
    ULONG ulProcess = 0;
    return askPipe(hPipe, &ulProcess) && ulProcess == GetCurrentProcessId();
}

// A pipe must be open before it shows whose it is. A stranger who owns it gets no identity to act with.
HANDLE OpenPipe(const TransferDirection& Direction)
{
    return CreateFileW(Direction.sPipeName, Direction.dwClientAccess, 0, nullptr, OPEN_EXISTING,
                       SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr);
}

// Waits until the host has accepted or turned away the client that has just connected. True if it is accepted.
bool IsWelcome(const FtpContext& FC, ULONGLONG ullLimit)
{
    AcquireSRWLockExclusive(&g_StateLock);
    for (ULONGLONG ullNow = GetTickCount64(); FC.m_enMeeting == Meeting::Awaited && ullNow < ullLimit;
         ullNow = GetTickCount64())
        SleepConditionVariableSRW(&g_StateChanged, &g_StateLock, static_cast<DWORD>(ullLimit - ullNow), 0);
    ReleaseSRWLockExclusive(&g_StateLock);
    return FC.m_enMeeting == Meeting::Made;
}

} // namespace

// ------------------------------------------------------------------------------------------- host's thread

void BeginMeeting(FtpContext& FC) { MoveTo(FC, Meeting::None, Meeting::Awaited); }

void EndMeeting(FtpContext& FC) { MoveTo(FC, FC.m_enMeeting, Meeting::None); }

void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction)
{
    const HANDLE hClient = OpenPipe(Direction);
    if (hClient != INVALID_HANDLE_VALUE)
        CloseHandle(hClient);
    DisconnectNamedPipe(hServer);
}

DWORD AwaitClient(FtpContext& FC, HANDLE hServer)
{
    while (FC.m_enMeeting == Meeting::Awaited)
    {
        if (!ConnectNamedPipe(hServer, nullptr))
            return GetLastError();
        if (IsThisProcess(GetNamedPipeClientProcessId, hServer) &&
            MoveTo(FC, Meeting::Awaited, Meeting::Made))
            return ERROR_SUCCESS;
        DisconnectNamedPipe(hServer);
    }
    return ERROR_PIPE_NOT_CONNECTED;
}

bool GiveUp(FtpContext& FC)
{
    if (MoveTo(FC, Meeting::Awaited, Meeting::GivenUpByHost))
        return true;
    // The worker wakes this thread again and again until it sees this state.
    MoveTo(FC, Meeting::GivenUpByWorker, Meeting::GivenUpByHost);
    WaitForSingleObject(FC.m_hThread, INFINITE);
    return false;
}

// ------------------------------------------------------------------------------------------- worker

HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction)
{
    const ULONGLONG ullLimit = GetTickCount64() + CONNECT_LIMIT;
    DWORD dwLastError = ERROR_PIPE_BUSY;
    while (dwLastError == ERROR_PIPE_BUSY && GetTickCount64() < ullLimit &&
           FC.m_enMeeting != Meeting::GivenUpByHost)
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
    MoveTo(FC, Meeting::Awaited, Meeting::GivenUpByWorker);
    // Repeated, because the host's thread may not be inside ConnectNamedPipe yet. No other call of that thread can be
    // cancelled: it makes none until it has seen this state.
    while (FC.m_enMeeting == Meeting::GivenUpByWorker)
    {
        CancelSynchronousIo(FC.m_hHostThread);
        Sleep(1);
    }
}

void StoreWorkerFailure(FtpContext& FC, const Failure& Reason) noexcept
{
    if (MoveTo(FC, Meeting::Awaited, Meeting::GivenUpByWorker) || FC.m_enMeeting != Meeting::GivenUpByHost)
        StoreFailure(FC, Reason);
}
