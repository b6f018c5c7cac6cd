// How the two threads of a transfer meet at its pipe, and how either gives the other up. FtpContext::m_enMeeting says
// how far they are:
//
//   None ─BeginMeeting (host)─▶ Awaited ─┬─AwaitClient (host)───▶ Made
//                                        ├─GiveUp (host)────────▶ GivenUpByHost
//                                        └─LeaveHost (worker)───▶ GivenUpByWorker ─GiveUp (host)─▶ GivenUpByHost
//
// Only the host sets Made; either side can give up. Until it is Made, the worker moves no byte and contacts no server.
// From every state EndMeeting (host) goes back to None, once the worker has ended.
#pragma once

#include "stream/Transfer.h"

// The host is about to start its worker.
void BeginMeeting(FtpContext& FC);
void EndMeeting(FtpContext& FC);

// A new pipe can be opened at once, but a client that is there before ConnectNamedPipe makes that call fail.
// A disconnected one cannot be opened until the host's thread is inside ConnectNamedPipe. Only a pipe that
// had a client can be disconnected on every system, so it gets one for a moment.
void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction);

// Lets clients in until the worker is there. ERROR_SUCCESS, or why it is not.
DWORD AwaitClient(FtpContext& FC, HANDLE hServer);

// The host waits no longer. False when the worker has given up before: then it has ended, and has stored why.
bool GiveUp(FtpContext& FC);

// Opens the host's pipe, once the host waits in ConnectNamedPipe. ERROR_PIPE_BUSY: a stranger has it open, or owns a
// pipe of that name.
HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction);

// The worker is about to end: releases a host's thread that still waits for it.
void LeaveHost(FtpContext& FC);

// Stores why a worker has failed, unless the host has given it up: then the error fields are the host's.
void StoreWorkerFailure(FtpContext& FC, const Failure& Reason) noexcept;
