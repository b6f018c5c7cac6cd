// Another program on the machine: a stranger at the transfers' pipes, or a second host. Signals that it is ready, goes
// on until it is stopped, and its exit code says what has happened.
#include "tests/tape/Neighbour.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <atomic>
#include <iostream>

namespace {

const HANDLE g_hReady = OpenEventW(EVENT_MODIFY_STATE, FALSE, neighbour::READY);
const HANDLE g_hMet = OpenEventW(EVENT_MODIFY_STATE, FALSE, neighbour::MET);
const HANDLE g_hStop = OpenEventW(SYNCHRONIZE, FALSE, neighbour::STOP);

constexpr const wchar_t* UPLOAD_PIPE = L"\\\\.\\pipe\\ZDV_FTP_UPLOAD";
constexpr const wchar_t* DOWNLOAD_PIPE = L"\\\\.\\pipe\\ZDV_FTP_DOWNLOAD";

std::atomic<bool> g_bTaken = false; // at least one byte that was meant for somebody else

bool Stopped() { return WaitForSingleObject(g_hStop, 0) == WAIT_OBJECT_0; }

// Takes the other end's data, or gives it rubbish.
void Exchange(HANDLE hPipe, bool bTake)
{
    static const Blocks RUBBISH(ZDV_BLOCK_SIZE, static_cast<char>(0xBB));
    Blocks aTaken(ZDV_BLOCK_SIZE);
    DWORD dwBytes = 0;
    SetEvent(g_hMet);
    if (!bTake)
        WriteFile(hPipe, RUBBISH.data(), ZDV_BLOCK_SIZE, &dwBytes, nullptr);
    else if (ReadFile(hPipe, aTaken.data(), ZDV_BLOCK_SIZE, &dwBytes, nullptr) && dwBytes != 0)
        g_bTaken = true;
}

struct Place
{
    const wchar_t* sPipe;
    bool bTake;
};

DWORD WINAPI OpenPipe(LPVOID pPlace)
{
    const auto& [sPipe, bTake] = *static_cast<const Place*>(pPlace);
    while (!Stopped())
    {
        const HANDLE hPipe =
            CreateFileW(sPipe, bTake ? GENERIC_READ : GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        if (hPipe == INVALID_HANDLE_VALUE)
            continue;
        Exchange(hPipe, bTake);
        CloseHandle(hPipe);
    }
    return 0;
}

DWORD WINAPI OfferPipe(LPVOID pPlace)
{
    const auto& [sPipe, bTake] = *static_cast<const Place*>(pPlace);
    const HANDLE hPipe =
        CreateNamedPipeW(sPipe, bTake ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND, 0,
                         PIPE_UNLIMITED_INSTANCES, ZDV_BLOCK_SIZE, ZDV_BLOCK_SIZE, 0, nullptr);
    while (ConnectNamedPipe(hPipe, nullptr) || GetLastError() == ERROR_NO_DATA)
    {
        Exchange(hPipe, bTake);
        DisconnectNamedPipe(hPipe);
    }
    return 0;
}

// At both pipes at once with several threads, so that both the host and its worker meet one.
int BeAStranger(LPTHREAD_START_ROUTINE visit, Place Upload, Place Download)
{
    for (int i = 0; i < 3; ++i)
        for (Place* const pPlace : {&Upload, &Download})
            CreateThread(nullptr, 0, visit, pPlace, 0, nullptr);
    SetEvent(g_hReady);
    WaitForSingleObject(g_hStop, INFINITE);
    return g_bTaken ? neighbour::TOOK_DATA : neighbour::DONE;
}

// A transfer that pauses in the middle until it may go on, and then ends as it should.
int BeAHost(bool bUpload)
{
    const std::wstring sRoot = server::Root(L"neighbour");
    const Blocks aObject = SomeBlocks(8, 77);
    Tape tape(sRoot);
    if (tape.MakeReady() != ZDV_SUCCESS || (!bUpload && tape.WriteObject(aObject) != ZDV_SUCCESS) ||
        (!bUpload && tape.Position(ZDV_SP_BOM) != ZDV_SUCCESS))
        return neighbour::FAILED;
    Blocks aRead;
    const ZDV_STATUS uiRc = bUpload ? tape.Write(aObject) : tape.Read(8, aRead);
    SetEvent(g_hReady);
    WaitForSingleObject(g_hStop, INFINITE);
    const bool bWhole = bUpload ? tape.Filemark() == 0 : aRead == aObject;
    return uiRc == ZDV_SUCCESS && bWhole ? neighbour::DONE : neighbour::FAILED;
}

} // namespace

int main(int, char** argv)
{
    const std::string sRole = argv[1];
    int iResult = neighbour::FAILED;
    if (sRole == "opens pipes")
        iResult = BeAStranger(OpenPipe, {UPLOAD_PIPE, true}, {DOWNLOAD_PIPE, false});
    else if (sRole == "offers pipes")
        iResult = BeAStranger(OfferPipe, {UPLOAD_PIPE, false}, {DOWNLOAD_PIPE, true});
    else
        iResult = BeAHost(sRole == "uploads");
    // Threads that wait at a pipe end with the process.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(iResult));
}
