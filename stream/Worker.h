#pragma once

#include "interface/Entry.h"
#include "stream/Transfer.h"

#include <openssl/crypto.h>

// Gives back what OpenSSL keeps for a thread: linked statically, it is not told of a thread's end.
struct OpenSslThread
{
    OpenSslThread() = default;
    OpenSslThread(const OpenSslThread&) = delete;
    OpenSslThread& operator=(const OpenSslThread&) = delete;
    ~OpenSslThread() { OPENSSL_thread_stop(); }
};

// A worker's thread procedure. PipeEnd closes the worker's end of the pipe whichever way the thread ends, and
// after everything else, since the host takes it as the worker's last word.
template <typename PipeEnd>
DWORD WorkerThread(LPVOID pArgument, const TransferDirection& Direction, std::span<const WorkerStep> Steps)
{
    auto* const pFC = static_cast<FtpContext*>(pArgument);
    const PipeEnd Guard(pFC);
    const OpenSslThread Thread;
    try
    {
        quorvel::FunctionTrace(Direction.sWorkerFunction).Starting();
        return HasSession(pFC, Direction) ? RunWorker(pFC, Direction, Steps) : WORKER_FAILED;
    }
    catch (...)
    {
        TraceException(Direction.sWorkerFunction);
        if (pFC != nullptr)
        {
            pFC->m_dwLastError = ERROR_NOT_ENOUGH_MEMORY;
            pFC->m_sLastError.clear();
        }
        return WORKER_FAILED;
    }
}
