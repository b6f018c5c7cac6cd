#pragma once

#include "catalogue/AreaObject.h"
#include "catalogue/Version.h"
#include "device/ServerCheck.h"

#include <atomic>
#include <cstdint>
#include <curl/curl.h>
#include <forward_list>
#include <string>
#include <vector>
#include <windows.h>

// Whether the two threads of a transfer have met; stream/Meeting.h shows who changes it, and when.
enum class Meeting
{
    None,
    Awaited,
    Made,
    GivenUpByWorker,
    GivenUpByHost
};

// A failure, as it is kept for the host.
struct LastError
{
    std::uint32_t m_dwLastError = 0; // named as in FtpContext, for StoreFailure
    std::wstring m_sLastError;
};

// One open device. Its address is the host's handle. stream/Transfer.h says what a transfer's worker thread may
// touch, and what orders the two threads.
class FtpContext
{
public:
    FtpContext();
    FtpContext(const FtpContext&) = delete;
    FtpContext& operator=(const FtpContext&) = delete;
    ~FtpContext();

    bool m_bFileMarkPending = false; // a filemark lies immediately ahead: the next read reports it
    bool m_bAtFileMark = false;      // just past the filemark that ends the current object
    bool m_bOkToWrite = false;       // writing is allowed at the current position
    bool m_bWriting = false;         // an object is open for writing
    bool m_bGetData = false;         // a download is running
    bool m_bSendData = false;        // an upload is running
    HANDLE m_hThread = nullptr;      // the worker of the running transfer
    std::atomic<HANDLE> m_hDownloadRead = INVALID_HANDLE_VALUE;  // server end, the host's
    std::atomic<HANDLE> m_hDownloadWrite = INVALID_HANDLE_VALUE; // client end, the worker's
    std::atomic<HANDLE> m_hUploadRead = INVALID_HANDLE_VALUE;    // client end, the worker's
    std::atomic<HANDLE> m_hUploadWrite = INVALID_HANDLE_VALUE;   // server end, the host's
    std::atomic<CURL*> m_pCurl = nullptr;
    std::forward_list<ServerCheck> m_aServerChecks; // of m_pCurl, then of the handles before it
    std::wstring m_sServer;
    std::uint32_t m_uiPort = 21;
    std::wstring m_sRoot;
    std::wstring m_sProtocol = L"ftp://";
    std::wstring m_sUsername;
    std::wstring m_sPassword;
    std::uint32_t m_uiReserveBlocks = 0;
    std::uint32_t m_uiCurrentBlock = 0;  // blocks transferred in the current object
    std::uint32_t m_uiCurrentObject = 0; // the tape position; 0 is before the first object
    std::uint64_t m_ullBytesRead = 0;    // bytes taken out of the pipe in the current object
    std::uint64_t m_ullBytesWritten = 0; // bytes put into the pipe in the current object
    std::int64_t m_tBackupTime = 0;      // the backup that the host asked for; 0 or less is the latest
    std::int64_t m_tLatestVersion = 0;
    Version m_CurrentVersion;
    std::vector<std::int64_t> m_VersionList;  // oldest first
    std::vector<AreaObject> m_AreaObjectList; // entry n - 1 is object n of the current version
    std::uint32_t m_dwLastError = 0;          // a Windows error number or a libcurl result code
    std::wstring m_sLastError;
    std::atomic<Meeting> m_enMeeting = Meeting::None;
    HANDLE m_hHostThread = nullptr;  // the thread that waits for its worker, which may have to wake it
    bool m_bFailureReported = false; // a write has already answered with the running upload's failure
    LastError m_HostError; // the failure of the host's own call, while the two fields are the worker's
};
