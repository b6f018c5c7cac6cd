// What the tape does without a server.
#include "interface/Connection.h"
#include "stream/Meeting.h"
#include "stream/WriteData.h"
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <gmock/gmock.h>

namespace {

class TapeWithoutServer : public testing::Test
{
protected:
    // A tape of recorded objects, positioned in the data of one of them.
    void Load(std::uint32_t uiObjects, std::uint32_t uiCurrentObject)
    {
        FC.m_AreaObjectList.clear();
        for (std::uint32_t i = 1; i <= uiObjects; ++i)
            FC.m_AreaObjectList.emplace_back(T_2024, i);
        FC.m_uiCurrentObject = uiCurrentObject;
        FC.m_uiCurrentBlock = 5;
        FC.m_ullBytesRead = FC.m_ullBytesWritten = 5 * ZDV_BLOCK_SIZE;
        FC.m_bWriting = FC.m_bFileMarkPending = FC.m_bAtFileMark = false;
        FC.m_bOkToWrite = true;
    }
    // What the end of an object resets.
    std::uint64_t Counted() const { return FC.m_uiCurrentBlock + FC.m_ullBytesRead + FC.m_ullBytesWritten; }
    ZDV_STATUS Read() { return ZDV_ReadData(m_Device, 1, m_aBlocks.data()); }
    ZDV_STATUS Write(std::uint32_t uiBytes) { return ZDV_WriteData(m_Device, uiBytes, m_aBlocks.data()); }

    std::uint32_t ErrorCode() const
    {
        std::uint32_t uiError = 4711;
        EXPECT_EQ(ZDV_GetProperty(m_Device, ZDV_P_SPECIFIC_ERROR_CODE, &uiError), ZDV_SUCCESS);
        return uiError;
    }

    OpenDevice m_Device;
    FtpContext& FC = *m_Device;
    std::vector<char> m_aBlocks = std::vector<char>(16 * ZDV_BLOCK_SIZE);
};

} // namespace

TEST_F(TapeWithoutServer, SpacesOverFilemarks)
{
    // object, just past a filemark, filemarks to pass, object afterwards, filemark pending afterwards
    const std::tuple<std::uint32_t, bool, std::int32_t, std::uint32_t, bool> CASES[] = {
        {3, false, 1, 3, false}, {3, false, 3, 5, false}, {3, true, 1, 4, false},
        {3, true, 2, 5, false},  {3, false, -1, 2, true}, {3, true, -1, 3, true},
        {3, true, -2, 2, true},  {3, false, 0, 3, false}, {3, true, 0, 3, false},
        {0, true, 9, 9, false},  {0, true, -1, 0, true},  {2, false, -5, 4294967293, true}};
    for (const auto& [uiObject, bAtFileMark, iFilemarks, uiAfter, bPending] : CASES)
        for (const bool bPendingBefore : {false, true})
        {
            Load(4, uiObject);
            FC.m_bAtFileMark = bAtFileMark;
            FC.m_bFileMarkPending = bPendingBefore;
            EXPECT_EQ(ZDV_Position(m_Device, ZDV_SP_FFM, iFilemarks), ZDV_SUCCESS);
            EXPECT_EQ(FC.m_uiCurrentObject, uiAfter) << uiObject << " by " << iFilemarks;
            EXPECT_EQ(FC.m_bFileMarkPending, bPending) << uiObject << " by " << iFilemarks;
            EXPECT_EQ(FC.m_bAtFileMark, !bPending) << uiObject << " by " << iFilemarks;
            EXPECT_EQ(Counted(), 0u);
        }
}

TEST_F(TapeWithoutServer, IsResetAlsoWhenTheCatalogueCannotBeRead)
{
    for (const auto& [uiMode, uiObject] : {std::pair(ZDV_SP_RET, 3u), {ZDV_SP_BOM, 0u}, {ZDV_SP_EORM, 0u}})
    {
        Load(4, 3);
        FC.m_bOkToWrite = false;
        FC.m_bFileMarkPending = true;
        FC.m_uiReserveBlocks = 12;
        EXPECT_EQ(ZDV_Position(m_Device, uiMode, 0), ZDV_DEVICE_ERROR); // not made ready
        EXPECT_EQ(FC.m_uiCurrentObject, uiObject) << uiMode;
        EXPECT_EQ(FC.m_uiReserveBlocks + Counted(), 0u);
        EXPECT_TRUE(FC.m_bOkToWrite && FC.m_bAtFileMark && !FC.m_bFileMarkPending);
        EXPECT_TRUE(FC.m_AreaObjectList.empty());
    }
}

TEST_F(TapeWithoutServer, RefusesTransfersThatFitNoObject)
{
    // recorded objects, object, writing allowed, status, last error, object afterwards
    const std::tuple<std::uint32_t, std::uint32_t, bool, ZDV_STATUS, std::uint32_t, std::uint32_t> CASES[] = {
        {3, 3, false, ZDV_WRITE_PROTECTED, 0, 3},
        {1, 3, true, ZDV_INTERNAL_ERROR, 0, 4},
        {3, 4294967295, true, ZDV_INTERNAL_ERROR, 0, 0},
    };
    for (const auto& [uiObjects, uiObject, bOkToWrite, uiRc, uiLastError, uiObjectAfter] : CASES)
    {
        Load(uiObjects, uiObject);
        FC.m_bOkToWrite = bOkToWrite;
        FC.m_dwLastError = 4711;
        EXPECT_EQ(Write(1), uiRc);
        EXPECT_EQ(FC.m_dwLastError, uiLastError) << uiObject;
        EXPECT_EQ(FC.m_uiCurrentObject, uiObjectAfter);
        EXPECT_EQ(FC.m_uiCurrentBlock, 5u);
    }
    FC.m_AreaObjectList = {{T_2024, 50012}};
    FC.m_uiCurrentObject = 0;
    EXPECT_EQ(Read(), ZDV_DEVICE_ERROR);
    EXPECT_EQ(FC.m_sLastError, L"Invalid object id");
}

TEST_F(TapeWithoutServer, ReportsOnceTheFailureOfAnUploadThatAReadEnds)
{
    ASSERT_TRUE(DoInitEx(FC));
    FC.m_sProtocol = REFUSED_SCHEME;
    const TraceLog Log;
    Load(3, 1);
    ASSERT_EQ(WriteData(&FC, 0, nullptr), ZDV_SUCCESS);
    EXPECT_EQ(Read(), ZDV_DEVICE_ERROR);
    EXPECT_EQ(ErrorCode(), 1u);
    EXPECT_THAT(Log.Lines(), testing::Contains("[V]: ReadData : ... ending : uiRc = 0x40000011"));
    EXPECT_EQ(Read(), ZDV_FILEMARK_REACHED);

    Load(3, 1);
    ASSERT_EQ(Write(16 * ZDV_BLOCK_SIZE), ZDV_DEVICE_ERROR);
    EXPECT_EQ(Read(), ZDV_FILEMARK_REACHED) << "the write has reported it";
}

// If a worker ends before it opens the pipe, the host does not wait for it.
TEST_F(TapeWithoutServer, ReportsAWorkerThatDoesNotCome)
{
    ASSERT_TRUE(DoInitEx(FC));
    Load(1, 1);
    TransferDirection Lost = UPLOAD;
    Lost.Worker = [](LPVOID pFC) -> DWORD {
        static_cast<FtpContext*>(pFC)->m_pCurl = nullptr;
        return UPLOAD.Worker(pFC);
    };
    EXPECT_EQ(StartTransfer(FC, Lost), ZDV_DEVICE_ERROR);
    EXPECT_EQ(FC.m_dwLastError, 87u);
    EXPECT_EQ(FC.m_sLastError, L"bad argument");
    FC.m_bOkToWrite = false;
    EXPECT_EQ(Write(1), ZDV_WRITE_PROTECTED);
    EXPECT_EQ(FC.m_dwLastError, 0u); // though the worker's thread is still there
    ASSERT_TRUE(DoInitEx(FC));
    EXPECT_EQ(StartTransfer(FC, UPLOAD), ZDV_SUCCESS); // what was left is cleaned up
}

// Otherwise the worker could open the pipe of the other device.
TEST_F(TapeWithoutServer, KeepsTheDirectionUntilItsWorkerHasEnded)
{
    const OpenDevice Other;
    const TraceLog Log;
    static FtpContext* pOther;
    static const TraceLog* pLog;
    static ZDV_STATUS uiOther;
    pOther = &*Other;
    pLog = &Log;
    Load(1, 1);
    ASSERT_TRUE(DoInitEx(FC));
    ASSERT_TRUE(DoInitEx(*Other));
    Other->m_AreaObjectList = {{T_2024, 1}};
    Other->m_uiCurrentObject = 1;
    TransferDirection Lost = UPLOAD;
    Lost.Worker = [](LPVOID pFC) -> DWORD {
        const auto& Mine = *static_cast<FtpContext*>(pFC);
        while (Mine.m_enMeeting == Meeting::Awaited)
            CancelSynchronousIo(Mine.m_hHostThread);
        while (pLog->Text().find("ThreadWriter still active") == std::string::npos)
            SwitchToThread(); // until the host waits for this worker
        uiOther = StartTransfer(*pOther, UPLOAD);
        return 0;
    };
    EXPECT_EQ(StartTransfer(FC, Lost), ZDV_DEVICE_ERROR);
    EndTransfers(FC);
    EXPECT_EQ(uiOther, ZDV_DEVICE_ERROR);
    EXPECT_EQ(StartTransfer(*Other, UPLOAD), ZDV_SUCCESS);
    EndTransfers(*Other);
}

// The end of a process kills the worker, and the host may close its device after that.
TEST_F(TapeWithoutServer, IsClosedThoughItsWorkerWasKilled)
{
    TransferDirection Killed = UPLOAD;
    Killed.Worker = [](LPVOID pFC) -> DWORD {
        auto& Mine = *static_cast<FtpContext*>(pFC);
        Mine.m_hUploadRead = OpenClientEnd(Mine, UPLOAD);
        return 0;
    };
    Load(1, 1);
    FC.m_bWriting = true;
    ASSERT_TRUE(DoInitEx(FC));
    ASSERT_EQ(StartTransfer(FC, Killed), ZDV_SUCCESS);
    ASSERT_EQ(Write(1), ZDV_SUCCESS);
    WaitForSingleObject(FC.m_hThread, INFINITE);
    EndTransfers(FC); // waits for nobody to take the block in the pipe
}

TEST_F(TapeWithoutServer, ReportsOnlyTheHostsErrorsWhileAWorkerRuns)
{
    const HANDLE hEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const auto Worker = [](LPVOID hEvent) { return WaitForSingleObject(hEvent, INFINITE); };
    FC.m_hThread = CreateThread(nullptr, 0, Worker, hEnd, 0, nullptr);
    FC.m_bSendData = true;
    FC.m_dwLastError = 42;
    EXPECT_EQ(ErrorCode(), 0u);
    EXPECT_EQ(Write(1), ZDV_WRITE_PROTECTED);
    EXPECT_EQ(ErrorCode(), 0u);
    FC.m_bOkToWrite = FC.m_bWriting = FC.m_bGetData = true; // without pipes
    EXPECT_EQ(Write(1), ZDV_DEVICE_ERROR);
    EXPECT_EQ(ErrorCode(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Read(), ZDV_DEVICE_ERROR);
    EXPECT_EQ(ErrorCode(), DWORD{ERROR_INVALID_HANDLE});
    SetEvent(hEnd);
    WaitForSingleObject(FC.m_hThread, INFINITE);
    EXPECT_EQ(ErrorCode(), 42u);
    CloseHandle(hEnd);
}
