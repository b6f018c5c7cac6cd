#include "stream/PipeEnds.h"

#include "device/PipeHandles.h"
#include "interface/FtpContext.h"

using quorvel::FunctionTrace;

namespace {

struct Texts
{
    const wchar_t* sLeft;
    const wchar_t* sMoved;
};

// Calls the pipe until all bytes have moved. Each call is counted at once, so the count is right after a failure, too.
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
