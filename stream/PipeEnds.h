#pragma once

#include "common/FunctionTrace.h"

#include <atomic>
#include <windows.h>

class FtpContext;

// Close one end of a transfer pipe, if it is open, and trace sText. The member is published as
// INVALID_HANDLE_VALUE before the handle is closed: the thread at the other end, seeing its own call fail,
// tells by that value that the close was meant.
void CloseServerEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);
void CloseClientEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);

// Closes the worker's end of the upload pipe when the worker ends.
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

// Closes the worker's end of the download pipe when the worker ends.
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
