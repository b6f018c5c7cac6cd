#pragma once

#include "interface/Entry.h"
#include "stream/Transfer.h"

// A worker's thread procedure. PipeEnd closes the worker's end of the pipe whichever way the thread ends, and
// after everything else, since the host takes it as the worker's last word.
template <typename PipeEnd>
DWORD WorkerThread(LPVOID pArgument, const TransferDirection& Direction, std::span<const WorkerStep> Steps)
{
    auto* const pFC = static_cast<FtpContext*>(pArgument);
    const PipeEnd Guard(pFC);
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
