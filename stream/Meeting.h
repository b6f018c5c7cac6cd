// How the two threads of a transfer meet at its pipe, or give up. FtpContext::m_enMeeting says how far they are:
//
//   None ─BeginMeeting (host)─▶ Awaited ─┬─AwaitClient (host)───▶ Made
//                                        ├─GiveUp (host)────────▶ GivenUpByHost
//                                        └─LeaveHost (worker)───▶ GivenUpByWorker ─GiveUp (host)─▶ GivenUpByHost
//
// A worker that fails has already given up in StoreWorkerFailure. Only the host sets Made; either side can give up.
// Until it is Made, the worker moves no byte and contacts no server.
// From every state EndMeeting (host) goes back to None, once the worker has ended.
#pragma once

#include "stream/Transfer.h"

// The host is about to start its worker.
void BeginMeeting(FtpContext& FC);
void EndMeeting(FtpContext& FC);

// ConnectNamedPipe fails if a client has opened the new pipe before. A disconnected pipe cannot be opened until the
// host's thread is inside that call. Some systems disconnect a pipe only after it had a client, so this opens it first.
void HoldClientsBack(HANDLE hServer, const TransferDirection& Direction);

// Waits for the worker, and turns other clients away. ERROR_SUCCESS, or why the worker has not come.
DWORD AwaitClient(FtpContext& FC, HANDLE hServer);

// The host stops waiting. False if the worker has given up first: it has then ended, and stored why.
bool GiveUp(FtpContext& FC);

// Opens the host's pipe, once the host waits in ConnectNamedPipe. ERROR_PIPE_BUSY: a stranger has it open, or owns a
// pipe of that name.
HANDLE OpenClientEnd(const FtpContext& FC, const TransferDirection& Direction);

// The worker is about to end: wakes a host's thread that still waits for it.
void LeaveHost(FtpContext& FC);

// Stores why a worker has failed, unless the host has given it up: then the error fields are the host's.
void StoreWorkerFailure(FtpContext& FC, const Failure& Reason) noexcept;
