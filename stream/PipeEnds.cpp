#include "stream/PipeEnds.h"

#include "interface/FtpContext.h"

using quorvel::FunctionTrace;

namespace {

struct Texts
{
    const wchar_t* sLeft;
    const wchar_t* sMoved;
};

// Calls the pipe until all bytes are through. What has moved is counted at once: the count is right after a failure.
template <typename Function>
bool MoveAll(const FunctionTrace& Trace, const Texts& Traced, DWORD dwLeft, std::uint64_t& ullCount,
             const Function& call)
{
    while (dwLeft != 0)
    {
        Trace.Number(Traced.sLeft, dwLeft);
        DWORD dwMoved = 0;
        if (!call(dwLeft, dwMoved))
            return false;
        Trace.Number(Traced.sMoved, dwMoved);
        dwLeft -= dwMoved;
        ullCount += dwMoved;
    }
    return true;
}

} // namespace

void CloseServerEnd(std::atomic<HANDLE>& hPipe, const FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker)
{
    if (hPipe == INVALID_HANDLE_VALUE)
        return;
    Trace.Verbose(sText);
    const HANDLE hClosing = hPipe.exchange(INVALID_HANDLE_VALUE);
    // The flush returns once the reader has taken everything; the disconnect is its end of data. The end of a process
    // kills the worker with its end of the pipe open, and then nobody takes anything.
    if (WaitForSingleObject(hWorker, 0) != WAIT_OBJECT_0)
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

bool ReadPipe(const FunctionTrace& Trace, HANDLE hPipe, char* pBuffer, DWORD dwBytes,
              std::uint64_t& ullBytesRead)
{
    const auto Read = [&](DWORD dwLeft, DWORD& dwRead) {
        return ReadFile(hPipe, pBuffer + (dwBytes - dwLeft), dwLeft, &dwRead, nullptr);
    };
    return MoveAll(Trace, {L"dwBytesToRead", L"dwBytesRead"}, dwBytes, ullBytesRead, Read);
}

bool WritePipe(const FunctionTrace& Trace, HANDLE hPipe, const char* pData, DWORD dwBytes,
               std::uint64_t& ullBytesWritten)
{
    const auto Write = [&](DWORD dwLeft, DWORD& dwWritten) {
        return WriteFile(hPipe, pData + (dwBytes - dwLeft), dwLeft, &dwWritten, nullptr);
    };
    return MoveAll(Trace, {L"dwBytesToWrite", L"dwBytesWritten"}, dwBytes, ullBytesWritten, Write);
}

void CloseUploadRead::operator()(FtpContext* pFC) const
{
    CloseClientEnd(pFC->m_hUploadRead, FunctionTrace(L"PipeReadThunk::~PipeReadThunk"),
                   L"Close Pipe(Upload->Read)");
}

void CloseDownloadWrite::operator()(FtpContext* pFC) const
{
    CloseClientEnd(pFC->m_hDownloadWrite, FunctionTrace(L"PipeWriteThunk::~PipeWriteThunk"),
                   L"Close Pipe(Download->Write)");
}
