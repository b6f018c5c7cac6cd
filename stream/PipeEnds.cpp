#include "stream/PipeEnds.h"

#include "interface/FtpContext.h"

using quorvel::FunctionTrace;

void CloseServerEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    const HANDLE hClosing = hPipe.exchange(INVALID_HANDLE_VALUE);
    // The flush returns once the reader has taken everything; the disconnect is its end of data.
    FlushFileBuffers(hClosing);
    DisconnectNamedPipe(hClosing);
    CloseHandle(hClosing);
}

void CloseClientEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    CloseHandle(hPipe.exchange(INVALID_HANDLE_VALUE));
}

PipeReadThunk::~PipeReadThunk()
{
    if (m_pFC != nullptr)
        CloseClientEnd(m_pFC->m_hUploadRead, FunctionTrace(L"PipeReadThunk::~PipeReadThunk"),
                       L"Close Pipe(Upload->Read)");
}

PipeWriteThunk::~PipeWriteThunk()
{
    if (m_pFC != nullptr)
        CloseClientEnd(m_pFC->m_hDownloadWrite, FunctionTrace(L"PipeWriteThunk::~PipeWriteThunk"),
                       L"Close Pipe(Download->Write)");
}
