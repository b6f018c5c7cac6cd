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

// Releases the host's thread, should it still wait for this worker when it ends.
class HostRelease
{
public:
    explicit HostRelease(FtpContext* pFC) : m_pFC(pFC) {}
    HostRelease(const HostRelease&) = delete;
    HostRelease& operator=(const HostRelease&) = delete;
    ~HostRelease()
    {
        if (m_pFC != nullptr)
            LeaveHost(*m_pFC);
    }

private:
    FtpContext* m_pFC;
};

// A worker's thread procedure. PipeEnd closes the worker's end of the pipe whichever way the thread ends, and
// after everything else, since the host takes it as the worker's last word.
template <typename PipeEnd>
DWORD WorkerThread(LPVOID pArgument, const TransferDirection& Direction, std::span<const WorkerStep> Steps)
{
    auto* const pFC = static_cast<FtpContext*>(pArgument);
    const HostRelease Release(pFC);
    const PipeEnd Guard(pFC);
    const OpenSslThread Thread;
    quorvel::KeepMemoryReserve();
    try
    {
        quorvel::FunctionTrace(Direction.sWorkerFunction).Starting();
        return HasSession(pFC, Direction) ? RunWorker(pFC, Direction, Steps) : WORKER_FAILED;
    }
    catch (...)
    {
        TraceException(Direction.sWorkerFunction);
        if (pFC != nullptr)
            StoreWorkerError(*pFC, ExceptionFailure());
        return WORKER_FAILED;
    }
}
