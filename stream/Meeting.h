// How the two threads of a transfer meet at its pipe, and how either gives the other up. m_enConnection says
// what became of it.
#pragma once

#include "stream/Transfer.h"

// A new pipe can be opened at once, but a client that is there before ConnectNamedPipe makes that call fail.
// A disconnected one cannot be opened until the host's thread is inside ConnectNamedPipe. Only a pipe that
// had a client can be disconnected on every system, so it gets one for a moment.
void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction);

// Lets clients in until the worker is there. ERROR_SUCCESS, or why it is not.
DWORD AwaitClient(FtpContext& FC, HANDLE hServer);

// The host waits no longer. What had been decided before.
Connection GiveUp(FtpContext& FC);

// The host's pipe, once the host's thread is in ConnectNamedPipe. Busy is a pipe while a stranger has it, or
// has one of its own of that name.
HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction);

// Releases a host's thread that still waits for this worker. Nothing when they have met.
void LeaveHost(FtpContext& FC);

// Stores why a worker has failed, unless the host has given it up: then the error fields are the host's.
void StoreWorkerError(FtpContext& FC, const Failure& Reason) noexcept;
