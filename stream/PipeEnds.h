#pragma once

#include "common/FunctionTrace.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <windows.h>

class FtpContext;

// Close one end of a transfer pipe, if it is open, and trace sText. The member is published as
// INVALID_HANDLE_VALUE before the handle is closed: the thread at the other end, seeing its own call fail,
// tells by that value that the close was meant.
// A server end waits until hWorker has taken all, if there is one that still runs.
void CloseServerEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText,
                    HANDLE hWorker);
void CloseClientEnd(std::atomic<HANDLE>& hPipe, const quorvel::FunctionTrace& Trace, const wchar_t* sText);

// Move dwBytes through one end, in as many calls as that takes, and add them to the count. False at the first
// call that fails, with its error in GetLastError.
bool ReadPipe(const quorvel::FunctionTrace& Trace, HANDLE hPipe, char* pBuffer, DWORD dwBytes,
              std::uint64_t& ullBytesRead);
bool WritePipe(const quorvel::FunctionTrace& Trace, HANDLE hPipe, const char* pData, DWORD dwBytes,
               std::uint64_t& ullBytesWritten);

// Close the worker's end of the upload or the download pipe when the worker ends.
struct CloseUploadRead
{
    void operator()(FtpContext* pFC) const;
};
struct CloseDownloadWrite
{
    void operator()(FtpContext* pFC) const;
};
using PipeReadThunk = std::unique_ptr<FtpContext, CloseUploadRead>;
using PipeWriteThunk = std::unique_ptr<FtpContext, CloseDownloadWrite>;
