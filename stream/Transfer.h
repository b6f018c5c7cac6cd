// One transfer: the host's thread at one end of a local pipe, one worker thread with libcurl at the other.
//
//   upload     WriteData -> m_hUploadWrite | m_hUploadRead -> ReadCallback -> libcurl -> server
//   download   ReadData <- m_hDownloadRead | m_hDownloadWrite <- WriteCallback <- libcurl <- server
//
// Transfer.cpp starts and ends it on the host's thread, Meeting.cpp lets the two threads find each other, and
// Worker.cpp holds the worker's thread procedures and what libcurl calls there.
//
// The pipes' names are machine-wide, and other accounts may open the pipes. So each thread checks that this process is
// at the other end before a byte moves. The host turns strangers away and keeps waiting for its worker. The worker
// closes a stranger's pipe and keeps looking for the host's, until it gives up. A worker that ends without having been
// connected wakes the host's thread from ConnectNamedPipe.
// Each direction belongs to one device of the process at a time. The pipe's own limit of one instance does not ensure
// that: a stranger who has created the first pipe of the name may have allowed several.
//
// The threads share the FtpContext without a lock. (The lock in Meeting.cpp protects no data: the worker only sleeps on
// it.) They are ordered by the pipe, and by the beginning and the end of the worker's thread:
//   before the worker    all that the worker reads (the libcurl handle and the URL set on it) is written before
//                        CreateThread.
//   m_pCurl              The worker reads it before it opens the pipe, and transfers with that handle even if the
//                        device is made ready again meanwhile. A download's callbacks only test it for null.
//   client end           While there is a worker, only the worker writes it. The host reads it after its own call on
//                        the pipe has failed. The worker sets it to INVALID_HANDLE_VALUE before it closes the handle.
//   server end           Only the host writes it. The worker reads it after its own call has failed.
//                        CloseServerEnd sets it to INVALID_HANDLE_VALUE before it disconnects the pipe.
//   m_enMeeting          see Meeting.h.
//   m_ullBytesRead,      Each thread counts one of them. Both are set to 0 while no worker exists.
//   m_ullBytesWritten
//   m_dwLastError,       They are the worker's while it runs, see device/LastError.h. It sets them before it closes
//   m_sLastError         its end of the pipe.
// All other members belong to the host's thread, but m_hHostThread, which the worker uses to wake it, and the
// ServerCheck of the worker's libcurl handle.
#pragma once

#include "device/Failure.h"
#include "interface/FtpContext.h"
#include "interface/zdv.h"

// What the two directions do differently, side by side.
struct TransferDirection
{
    const wchar_t* sPipeName;
    DWORD dwServerMode;   // the host's end
    DWORD dwClientAccess; // the worker's end
    std::atomic<HANDLE> FtpContext::*hServer;
    std::atomic<HANDLE> FtpContext::*hClient;
    bool FtpContext::*bRunning;
    std::atomic<const FtpContext*>* pOwner; // the device that this direction belongs to
    LPTHREAD_START_ROUTINE Worker;

    // Texts of the host's thread that starts a transfer.
    const wchar_t* sHostFunction;
    const wchar_t* sCouldNotCreate;
    const wchar_t* sCouldNotConnect;

    // Texts of the worker.
    const wchar_t* sWorkerFunction;
    const wchar_t* sCouldNotOpen;

    // Texts of ObjectClose.
    const wchar_t* sEnd;
    const wchar_t* sClosePipe;
    const wchar_t* sStillActive;
    const wchar_t* sWaiting;
};

extern const TransferDirection UPLOAD;
extern const TransferDirection DOWNLOAD;

// Starts the transfer of object m_uiCurrentObject: URL, pipe, worker, connection. ZDV_DEVICE_ERROR with the last error
// set on failure; EndTransfers then ends what is left.
ZDV_STATUS StartTransfer(FtpContext& FC, const TransferDirection& Direction);

// Ends a transfer, or what a failed start has left of one: closes the host's end of the pipe, which is the end of the
// data for the worker, and waits until the worker has ended.
void EndTransfers(FtpContext& FC);
