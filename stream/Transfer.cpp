#include "stream/Transfer.h"

#include "catalogue/ServerUrl.h"
#include "device/CurlCalls.h"
#include "device/LastError.h"
#include "device/PipeHandles.h"
#include "stream/Meeting.h"
#include "stream/Worker.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

std::atomic<const FtpContext*> g_pUploader = nullptr, g_pDownloader = nullptr;

} // namespace

const TransferDirection UPLOAD = {
    .sPipeName = L"\\\\.\\pipe\\ZDV_FTP_UPLOAD",
    .dwServerMode = PIPE_ACCESS_OUTBOUND,
    .dwClientAccess = GENERIC_READ,
    .hServer = &FtpContext::m_hUploadWrite,
    .hClient = &FtpContext::m_hUploadRead,
    .bRunning = &FtpContext::m_bSendData,
    .pOwner = &g_pUploader,
    .Worker = ThreadWriter,
    .sHostFunction = L"WriteData",
    .sCouldNotCreate = L"Couldn't create Upload named pipe",
    .sCouldNotConnect = L"Couldn't connect Upload->Write pipe",
    .sWorkerFunction = L"ThreadWriter",
    .sCouldNotOpen = L"Couldn't create Upload->Read pipe",
    .sEnd = L"End Send Data",
    .sClosePipe = L"Close Pipe(Upload->Write)",
    .sStillActive = L"ThreadWriter still active ...",
    .sWaiting = L"Waiting for ThreadWriter to finish ...",
};

const TransferDirection DOWNLOAD = {
    .sPipeName = L"\\\\.\\pipe\\ZDV_FTP_DOWNLOAD",
    .dwServerMode = PIPE_ACCESS_INBOUND,
    .dwClientAccess = GENERIC_WRITE,
    .hServer = &FtpContext::m_hDownloadRead,
    .hClient = &FtpContext::m_hDownloadWrite,
    .bRunning = &FtpContext::m_bGetData,
    .pOwner = &g_pDownloader,
    .Worker = ThreadReader,
    .sHostFunction = L"ReadData",
    .sCouldNotCreate = L"Couldn't create Download->Read pipe",
    .sCouldNotConnect = L"Couldn't connect Download->Read pipe",
    .sWorkerFunction = L"ThreadReader",
    .sCouldNotOpen = L"Couldn't create Download->Write pipe",
    .sEnd = L"End Get Data",
    .sClosePipe = L"Close Pipe(Read)",
    .sStillActive = L"ThreadReader still active ...",
    .sWaiting = L"Waiting for ThreadReader to finish ...",
};

namespace {

constexpr DWORD WAIT_STEP = 5000; // milliseconds

// ------------------------------------------------------------------------------------------- start

bool SetObjectUrl(FtpContext& FC, const FunctionTrace& Trace)
{
    CurlCalls Calls(FC.m_pCurl, Trace);
    // Objects without a label would all share one file.
    if (FC.m_AreaObjectList[FC.m_uiCurrentObject - 1].m_uiObjectId >= AreaObject::FIRST_ID_WITHOUT_LABEL)
    {
        StoreFailure(FC, {ERROR_INVALID_PARAMETER, L"Invalid object id"});
    }
    else
    {
        Calls.SetUrl(ObjectUrl(FC), L"sURL", L"Set URL option failed");
        if (Calls.Succeeded())
            return true;
        StoreFailure(FC, Calls.Reason());
    }
    Trace.At(quorvel::ENDING).Text(Level::Error, L"pFC->m_sLastError", FC.m_sLastError);
    return false;
}

bool Claim(const FtpContext& FC, const TransferDirection& Direction)
{
    const FtpContext* pOwner = nullptr;
    return Direction.pOwner->compare_exchange_strong(pOwner, &FC);
}

void Release(const FtpContext& FC, const TransferDirection& Direction)
{
    const FtpContext* pOwner = &FC;
    Direction.pOwner->compare_exchange_strong(pOwner, nullptr);
}

// ERROR_SUCCESS, or why there is no pipe.
DWORD CreatePipe(FtpContext& FC, const TransferDirection& Direction)
{
    if (!Claim(FC, Direction))
        return ERROR_PIPE_BUSY;
    // Prepared for a pipe that every account may open, but not passed on: fixed by the interface.
    SECURITY_DESCRIPTOR Descriptor;
    InitializeSecurityDescriptor(&Descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&Descriptor, TRUE, nullptr, FALSE);

    // Remote clients choose the process number that is seen here.
    const HANDLE hServer =
        CreateNamedPipeW(Direction.sPipeName, Direction.dwServerMode,
                         PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                         ZDV_BLOCK_SIZE, ZDV_BLOCK_SIZE, 0, nullptr);
    const DWORD dwLastError = hServer != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError();
    FC.*Direction.hServer = hServer;
    FC.*Direction.hClient = INVALID_HANDLE_VALUE;
    if (dwLastError != ERROR_SUCCESS)
        Release(FC, Direction);
    return dwLastError;
}

// Starts the worker and waits for it. ERROR_SUCCESS, or why it has not come.
DWORD MeetWorker(FtpContext& FC, const TransferDirection& Direction)
{
    const HANDLE hServer = FC.*Direction.hServer;
    HoldClientsBack(hServer, Direction);
    FC.m_hThread = CreateThread(nullptr, 0, Direction.Worker, &FC, 0, nullptr);
    return FC.m_hThread != nullptr ? AwaitClient(FC, hServer) : GetLastError();
}

// False with the last error set. The pipe and the thread are then left to EndTransfers. The log has the same line for
// every cause, "ConnectNamedPipe failed" (fixed), and never the text of the last error. The worker's own lines tell
// more ("starting" at level 4, failures at level 1):
//
//   what failed        the worker's lines                             the last error
//   DuplicateHandle,   none                                           sCouldNotConnect, the system's number
//   CreateThread
//   ConnectNamedPipe   "starting", and perhaps a failure with a       sCouldNotConnect, the system's number
//                      number of its own: a stranger opened the
//                      pipe first, or the host cancelled the call
//   the worker         its failure, with the number of that line      that failure
bool ConnectWorker(FtpContext& FC, const TransferDirection& Direction)
{
    BeginMeeting(FC);
    // Made before the worker, which needs it to wake this thread from ConnectNamedPipe.
    const bool bCallable = DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(),
                                           &FC.m_hHostThread, THREAD_TERMINATE, FALSE, 0) != FALSE;
    const DWORD dwLastError = bCallable ? MeetWorker(FC, Direction) : GetLastError();
    const bool bGivenUp = dwLastError != ERROR_SUCCESS && GiveUp(FC);
    if (bCallable)
        CloseHandle(FC.m_hHostThread);
    if (bGivenUp)
        StoreFailure(FC, {dwLastError, Direction.sCouldNotConnect});
    return dwLastError == ERROR_SUCCESS;
}

ZDV_STATUS FailPipe(const FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Number(Level::Error, L"pFC->m_dwLastError", FC.m_dwLastError);
    return ZDV_DEVICE_ERROR;
}

// ------------------------------------------------------------------------------------------- end

void AwaitWorker(FtpContext& FC, const FunctionTrace& Trace, const TransferDirection& Direction)
{
    Trace.At(Direction.sStillActive).Number(L"dwThreadId", GetThreadId(FC.m_hThread));
    DWORD dwRc = WAIT_TIMEOUT;
    while ((dwRc = WaitForSingleObject(FC.m_hThread, WAIT_STEP)) == WAIT_TIMEOUT)
        Trace.Verbose(Direction.sWaiting);
    Trace.At(L"WaitForSingleObject").Number(L"dwRc", dwRc);
    // Fixed by the interface: the thread's handle is not closed.
    FC.m_hThread = nullptr;
}

void EndTransfer(FtpContext& FC, const TransferDirection& Direction)
{
    if (!(FC.*Direction.bRunning) && FC.*Direction.hServer == INVALID_HANDLE_VALUE)
        return;
    const FunctionTrace Trace(L"ObjectClose");
    Trace.Verbose(Direction.sEnd);
    FC.*Direction.bRunning = false;
    CloseServerEnd(FC.*Direction.hServer, Trace, Direction.sClosePipe, FC.m_hThread);
    if (FC.m_hThread != nullptr)
        AwaitWorker(FC, Trace, Direction);
    // Only now: until it has ended, a worker that was never connected might open the pipe of the next owner.
    Release(FC, Direction);
    EndMeeting(FC);
}

} // namespace

ZDV_STATUS StartTransfer(FtpContext& FC, const TransferDirection& Direction)
{
    const FunctionTrace Trace(Direction.sHostFunction);
    // A failed connection may have left a pipe and a worker. A context has one worker at a time.
    EndTransfers(FC);
    if (!SetObjectUrl(FC, Trace))
        return ZDV_DEVICE_ERROR;
    if (const DWORD dwLastError = CreatePipe(FC, Direction); dwLastError != ERROR_SUCCESS)
    {
        StoreFailure(FC, {dwLastError, Direction.sCouldNotCreate});
        return FailPipe(FC, Trace.At(L"CreatePipe failed"));
    }
    if (!ConnectWorker(FC, Direction))
        return FailPipe(FC, Trace.At(L"ConnectNamedPipe failed"));
    FC.*Direction.bRunning = true;
    return ZDV_SUCCESS;
}

void EndTransfers(FtpContext& FC)
{
    EndTransfer(FC, UPLOAD);
    EndTransfer(FC, DOWNLOAD);
}
