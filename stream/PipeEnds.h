#pragma once

#include "common/FunctionTrace.h"

#include <cstdint>
#include <windows.h>

class FtpContext;

// Move dwBytes through one end of a pipe, in as many calls as that takes, and add them to the count. False at the
// first call that fails; GetLastError says why.
bool ReadPipe(const quorvel::FunctionTrace& Trace, HANDLE hPipe, char* pBuffer, DWORD dwBytes,
              std::uint64_t& ullBytesRead);
bool WritePipe(const quorvel::FunctionTrace& Trace, HANDLE hPipe, const char* pData, DWORD dwBytes,
               std::uint64_t& ullBytesWritten);

// Close the worker's end of the upload or the download pipe when the worker ends. pFC may be null.
class PipeReadThunk
{
public:
    explicit PipeReadThunk(FtpContext* pFC) : m_pFC(pFC) {}
    PipeReadThunk(const PipeReadThunk&) = delete;
    PipeReadThunk& operator=(const PipeReadThunk&) = delete;
    ~PipeReadThunk();

private:
    FtpContext* m_pFC;
};

class PipeWriteThunk
{
public:
    explicit PipeWriteThunk(FtpContext* pFC) : m_pFC(pFC) {}
    PipeWriteThunk(const PipeWriteThunk&) = delete;
    PipeWriteThunk& operator=(const PipeWriteThunk&) = delete;
    ~PipeWriteThunk();

private:
    FtpContext* m_pFC;
};
