// One transfer: the host's thread at one end of a local pipe, one worker thread with libcurl at the other.
//
//   upload     WriteData -> m_hUploadWrite | m_hUploadRead -> ReadCallback -> libcurl -> server
//   download   ReadData <- m_hDownloadRead | m_hDownloadWrite <- WriteCallback <- libcurl <- server
//
// Transfer.cpp starts and ends it on the host's thread, Meeting.cpp lets the two threads find each other, and all of
// the worker's thread is in Worker.cpp.
//
// The pipes' names are one for the machine, and other accounts may open them. So each thread makes sure that
// this process is at the other end before a byte moves: the host turns strangers away and waits on for the
// worker, the worker leaves a stranger's pipe alone and looks for the host's. It gives up after a while, and
// then calls the host's thread out of ConnectNamedPipe, as it does whenever it ends before it was connected.
// Within the process a direction has one transfer at a time, also where a stranger's pipe of the same name would
// let there be several.
//
// The threads share the FtpContext without a lock (the one in Meeting.cpp guards nothing: it is there for a thread to
// sleep behind). What orders them is the pipe and the thread's life:
//   before the worker    everything the worker reads (the libcurl handle and the URL set on it) is written
//                        before CreateThread.
//   m_pCurl              read by the worker while the host waits in ConnectNamedPipe. The worker keeps that
//                        handle; a device that is made ready anew in the middle of a transfer has another.
//   client end           written by the worker alone; the host reads it after its own call on the pipe has
//                        failed, and the worker publishes its end before it closes the handle.
//   server end           written by the host alone; the worker reads it after its own call has failed, and
//                        ObjectClose publishes its end before it disconnects the pipe.
//   m_enConnection       decided once: that the transfer is connected by the host alone, that there will be none
//                        by either. The worker touches no byte and no server before it is connected.
//   m_ullBytesRead,      one is counted by each side; both are zeroed while no worker exists.
//   m_ullBytesWritten
//   m_dwLastError,       the worker's while it runs, see interface/LastError.h. It sets them before it gives
//   m_sLastError         up its end of the pipe.
// All else belongs to the host's thread.
#pragma once

#include "interface/FtpContext.h"
#include "interface/LastError.h"
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

// Ends what there is of a transfer: closes the host's end of the pipe, which is the other side's end of data, and
// waits for the worker for as long as it takes.
void EndTransfers(FtpContext& FC);
