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

bool ReadPipe(const FunctionTrace& Trace, HANDLE hPipe, char* pBuffer, DWORD dwBytes,
              std::uint64_t& ullBytesRead)
{
    while (dwBytes != 0)
    {
        Trace.Number(L"dwBytesToRead", dwBytes);
        DWORD dwBytesRead = 0;
        if (!ReadFile(hPipe, pBuffer, dwBytes, &dwBytesRead, nullptr))
            return false;
        Trace.Number(L"dwBytesRead", dwBytesRead);
        pBuffer += dwBytesRead;
        dwBytes -= dwBytesRead;
        ullBytesRead += dwBytesRead;
    }
    return true;
}

bool WritePipe(const FunctionTrace& Trace, HANDLE hPipe, const char* pData, DWORD dwBytes,
               std::uint64_t& ullBytesWritten)
{
    while (dwBytes != 0)
    {
        Trace.Number(L"dwBytesToWrite", dwBytes);
        DWORD dwBytesWritten = 0;
        if (!WriteFile(hPipe, pData, dwBytes, &dwBytesWritten, nullptr))
            return false;
        Trace.Number(L"dwBytesWritten", dwBytesWritten);
        pData += dwBytesWritten;
        dwBytes -= dwBytesWritten;
        ullBytesWritten += dwBytesWritten;
    }
    return true;
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
