// One transfer: the host's thread at one end of a local pipe, one worker thread with libcurl at the other.
//
//   upload     WriteData -> m_hUploadWrite | m_hUploadRead -> ReadCallback -> libcurl -> server
//   download   ReadData <- m_hDownloadRead | m_hDownloadWrite <- WriteCallback <- libcurl <- server
//
// Transfer.cpp starts and ends it on the host's thread, Meeting.cpp lets the two threads find each other, and
// Worker.cpp holds all that runs on the worker's thread.
//
// The pipes' names are machine-wide, and other accounts may open them. So each thread makes sure that this process is
// at the other end before a byte moves. The host turns strangers away and goes on waiting for its worker. The worker
// leaves a stranger's pipe alone and looks for the host's, until it gives up. A worker that gives up, or ends before it
// was connected, releases the host's thread from ConnectNamedPipe.
// Only one device of the process at a time has a direction. The pipe alone does not see to that: if a stranger has
// created the first pipe of this name, the system may allow several.
//
// The threads share the FtpContext without a lock (the one in Meeting.cpp guards nothing: a thread sleeps on it). What
// orders them is the pipe and the thread's life:
//   before the worker    everything the worker reads (the libcurl handle and the URL set on it) is written
//                        before CreateThread.
//   m_pCurl              read by the worker while the host waits in ConnectNamedPipe. The worker transfers with that
//                        handle, also when the device is made ready again in the middle; its callbacks only look
//                        whether there is one.
//   client end           written by the worker alone; the host reads it after its own call on the pipe has
//                        failed. The worker sets it to INVALID_HANDLE_VALUE before it closes the handle.
//   server end           written by the host alone; the worker reads it after its own call has failed.
//                        ObjectClose sets it to INVALID_HANDLE_VALUE before it disconnects the pipe.
//   m_enMeeting          see Meeting.h.
//   m_ullBytesRead,      each side counts one of them; both are set to 0 while no worker exists.
//   m_ullBytesWritten
//   m_dwLastError,       the worker's while it runs, see device/LastError.h. It sets them before it closes
//   m_sLastError         its end of the pipe.
// All else belongs to the host's thread.
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
    std::atomic<const FtpContext*>*
        pOwner; // the device that has the process's one transfer of this direction
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

// Starts the transfer of object m_uiCurrentObject: URL, pipe, worker, connection. ZDV_DEVICE_ERROR with the
// last error set on failure; what a failed connection leaves is ended by EndTransfers.
ZDV_STATUS StartTransfer(FtpContext& FC, const TransferDirection& Direction);

// Ends what there is of a transfer: closes the host's end of the pipe, which the worker takes for the end of the data,
// and waits for the worker for as long as it takes.
void EndTransfers(FtpContext& FC);
