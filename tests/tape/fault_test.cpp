// SFTP servers that fail although the connection goes on, and sockets that behave as those of Windows.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <atomic>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <winsock2.h>

namespace {

template <typename Type> Type* InModule(std::size_t uiOffset)
{
    return reinterpret_cast<Type*>(reinterpret_cast<char*>(GetModuleHandleW(L"ZDV_FTP.DLL")) + uiOffset);
}

// Where the module keeps the address of a function that it imports.
void** Import(const char* sLibrary, const char* sName)
{
    const auto uiHeaders = static_cast<std::size_t>(InModule<IMAGE_DOS_HEADER>(0)->e_lfanew);
    const auto& aTables = InModule<IMAGE_NT_HEADERS>(uiHeaders)->OptionalHeader.DataDirectory;
    const auto* pLibrary =
        InModule<IMAGE_IMPORT_DESCRIPTOR>(aTables[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    while (_stricmp(InModule<char>(pLibrary->Name), sLibrary) != 0)
        ++pLibrary;
    const auto* const pNames = InModule<IMAGE_THUNK_DATA>(pLibrary->OriginalFirstThunk);
    std::size_t i = 0;
    while (std::strcmp(InModule<IMAGE_IMPORT_BY_NAME>(pNames[i].u1.AddressOfData)->Name, sName) != 0)
        ++i;
    return InModule<void*>(pLibrary->FirstThunk) + i;
}

// Replaces one of the system's functions by one of this program, for as long as it lives.
class Replacement
{
public:
    template <typename Function>
    Replacement(const char* sLibrary, const char* sName, Function* pFunction)
        : m_pPlace(Import(sLibrary, sName)), m_pOld(*m_pPlace)
    {
        Put(reinterpret_cast<void*>(pFunction));
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() { Put(m_pOld); }

private:
    void Put(void* pFunction)
    {
        DWORD dwProtection = 0;
        VirtualProtect(m_pPlace, sizeof(void*), PAGE_READWRITE, &dwProtection);
        *m_pPlace = pFunction;
        VirtualProtect(m_pPlace, sizeof(void*), dwProtection, &dwProtection);
    }

    void** const m_pPlace;
    void* const m_pOld;
};

void SetSendBuffer(SOCKET hSocket, int iSize)
{
    setsockopt(hSocket, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&iSize), sizeof iSize);
}

// Sockets as Winsock documents them: they take all they are given, or nothing if enough is waiting to be sent. Those of
// Wine take a part. Only one connection at a time sends here.
class WholePackets
{
public:
    WholePackets() : m_hThread(CreateThread(nullptr, 0, Deliver, this, 0, nullptr)) { g_pThis = this; }
    ~WholePackets()
    {
        Change([&] { m_bEnds = true; });
        WaitForSingleObject(m_hThread, INFINITE);
        CloseHandle(m_hThread);
    }

private:
    static constexpr std::size_t ENOUGH = 65536; // bytes

    template <typename Function> void Change(Function&& change)
    {
        AcquireSRWLockExclusive(&m_Lock);
        change();
        ReleaseSRWLockExclusive(&m_Lock);
        WakeConditionVariable(&m_Changed);
    }

    static int WSAAPI Send(SOCKET hSocket, const char* pData, int iSize, int)
    {
        int iError = 0;
        g_pThis->Change([&] {
            iError = g_pThis->m_sWaiting.size() >= ENOUGH ? WSAEWOULDBLOCK : g_pThis->m_iError;
            if (iError != 0)
                return;
            SetSendBuffer(hSocket, 16384);
            g_pThis->m_hSocket = hSocket;
            g_pThis->m_sWaiting.append(pData, static_cast<std::size_t>(iSize));
        });
        WSASetLastError(iError);
        return iError == 0 ? iSize : SOCKET_ERROR;
    }

    static int WSAAPI Close(SOCKET hSocket)
    {
        int iResult = 0;
        g_pThis->Change([&] {
            g_pThis->m_sWaiting.clear();
            g_pThis->m_iError = 0;
            iResult = closesocket(hSocket);
        });
        return iResult;
    }

    // Until the real socket takes no more: only after that it reports when there is room again.
    void DeliverPieces()
    {
        while (!m_sWaiting.empty())
        {
            const int iSent = send(m_hSocket, m_sWaiting.data(), static_cast<int>(m_sWaiting.size()), 0);
            if (iSent >= 0)
                m_sWaiting.erase(0, static_cast<std::size_t>(iSent));
            else if (WSAGetLastError() == WSAEWOULDBLOCK)
                return;
            else
            {
                m_iError = WSAGetLastError();
                m_sWaiting.clear();
            }
        }
    }

    static DWORD WINAPI Deliver(LPVOID pThis)
    {
        auto& packets = *static_cast<WholePackets*>(pThis);
        AcquireSRWLockExclusive(&packets.m_Lock);
        while (!packets.m_bEnds)
        {
            if (packets.m_sWaiting.empty())
                SleepConditionVariableSRW(&packets.m_Changed, &packets.m_Lock, INFINITE, 0);
            else
            {
                packets.AwaitRoom();
                packets.DeliverPieces();
            }
        }
        ReleaseSRWLockExclusive(&packets.m_Lock);
        return 0;
    }

    // Without the lock while it waits.
    void AwaitRoom()
    {
        fd_set Sockets{1, {m_hSocket}};
        timeval Limit{1, 0};
        ReleaseSRWLockExclusive(&m_Lock);
        select(0, nullptr, &Sockets, nullptr, &Limit);
        AcquireSRWLockExclusive(&m_Lock);
    }

    static inline WholePackets* g_pThis = nullptr;
    SRWLOCK m_Lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_Changed = CONDITION_VARIABLE_INIT;
    std::string m_sWaiting;
    SOCKET m_hSocket = INVALID_SOCKET;
    int m_iError = 0;
    bool m_bEnds = false;
    const Module m_Module{LoadLibraryW(L"ZDV_FTP.DLL")};
    Replacement m_Send{"WS2_32.dll", "send", Send};
    Replacement m_Close{"WS2_32.dll", "closesocket", Close};
    HANDLE m_hThread;
};

struct Case
{
    const char* sFault;
    bool bFails;
};

std::ostream& operator<<(std::ostream& Out, const Case& Given) { return Out << Given.sFault; }

class Fault : public testing::TestWithParam<Case>
{
protected:
    // On a new connection.
    void MakeReady(const std::string& sFault)
    {
        server::Control("fault " + sFault);
        ASSERT_EQ(m_Tape.MakeReady(), ZDV_SUCCESS) << m_Tape.ErrorText();
    }

    void ExpectFailure(bool bFailed)
    {
        const std::wstring sText = m_Tape.ErrorText();
        EXPECT_EQ(sText.starts_with(L"ERROR: Perform operation failed ["), bFailed) << sText;
    }

    const WholePackets m_Sockets; // a worker uses them until the tape is closed
    Tape m_Tape{server::Root(L"faults")};
};

} // namespace

TEST_P(Fault, EndsTheTransferOrIsOvercome)
{
    const Blocks aHeader = SomeBlocks(1, 1);
    const Blocks aLong = SomeBlocks(GetParam().bFails ? 96 : 256, 2);
    MakeReady("none");
    ASSERT_EQ(m_Tape.Erase(), ZDV_SUCCESS);
    for (const Blocks* pObject : {&aHeader, &aHeader, &aLong})
        ASSERT_EQ(m_Tape.WriteObject(*pObject), ZDV_SUCCESS) << m_Tape.ErrorText();

    MakeReady(GetParam().sFault);
    ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(m_Tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
    Blocks aRead(aLong.size());
    EXPECT_EQ(m_Tape.Fill(aRead), GetParam().bFails ? ZDV_FILEMARK_REACHED : ZDV_SUCCESS);
    ExpectFailure(GetParam().bFails);

    MakeReady(GetParam().sFault);
    EXPECT_EQ(m_Tape.WriteObject(aLong) != ZDV_SUCCESS, GetParam().bFails);
    ExpectFailure(GetParam().bFails);

    MakeReady("none");
    ASSERT_TRUE(!GetParam().bFails || m_Tape.WriteObject(aLong) == ZDV_SUCCESS) << m_Tape.ErrorText();
    ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    ASSERT_EQ(m_Tape.Position(ZDV_SP_FFM, GetParam().bFails ? 4 : 3), ZDV_SUCCESS);
    ASSERT_EQ(m_Tape.Fill(aRead), ZDV_SUCCESS) << m_Tape.ErrorText();
    EXPECT_TRUE(aRead == aLong);
}

INSTANTIATE_TEST_SUITE_P(, Fault,
                         testing::Values(Case{"close", true}, Case{"end of data", true},
                                         Case{"half a packet", true}, Case{"another type", true},
                                         Case{"refusal", true}, Case{"talk", false}));

using OpenFault = Fault;

// The server dies when it is asked for an object or a folder. Neither is empty.
TEST_F(OpenFault, IsNeitherFilemarkNorBlankTape)
{
    MakeReady("none");
    ASSERT_EQ(m_Tape.Erase(), ZDV_SUCCESS);
    ASSERT_EQ(m_Tape.WriteObject(SomeBlocks(1, 1)), ZDV_SUCCESS) << m_Tape.ErrorText();
    ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << m_Tape.ErrorText();
    server::Control("fault no handle");
    Blocks aRead;
    EXPECT_EQ(m_Tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
    ExpectFailure(true);
    EXPECT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_DEVICE_ERROR);
}

// Asking again and again would keep a processor busy.
TEST(Waiting, ForTheServerAsksSeldom)
{
    struct Count
    {
        std::atomic<int> iDone, iVain;
        int Add(int iResult)
        {
            ++(iResult < 0 ? iVain : iDone);
            return iResult;
        }
    };
    static Count received, sent;
    const auto Recv = +[](SOCKET hSocket, char* pData, int iSize, int iFlags)
                           WSAAPI { return received.Add(recv(hSocket, pData, iSize, iFlags)); };
    const auto Send = +[](SOCKET hSocket, const char* pData, int iSize, int iFlags) WSAAPI {
        SetSendBuffer(hSocket, 65536);
        const int iSent = send(hSocket, pData, iSize, iFlags);
        return iSize == 0 ? iSent : sent.Add(iSent); // libcurl sends nothing before each wait
    };
    Tape tape(server::Root(L"waiting"));
    const Replacement Received("WS2_32.dll", "recv", Recv);
    const Replacement Sent("WS2_32.dll", "send", Send);
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    ASSERT_EQ(tape.WriteObject(SomeBlocks(64, 1)), ZDV_SUCCESS) << tape.ErrorText(); // fills the socket
    EXPECT_LT(sent.iVain, sent.iDone);
    ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS);
    Blocks aRead;
    ASSERT_EQ(tape.Read(32, aRead), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_LT(received.iVain, 10 * received.iDone);
}

// Servers forget a TLS session after a time, and may then refuse data connections. Only the client's clock goes on here.
TEST(Aged, ConnectionIsRenewed)
{
    if (server::Variable(L"ZDV_TEST_SCHEME") != L"ftpes")
        GTEST_SKIP() << "only FTPS is tried";
    static std::int64_t iLater = 0; // seconds
    const auto Time = +[](std::int64_t* pTime) {
        const std::int64_t iTime = _time64(nullptr) + iLater;
        return pTime == nullptr ? iTime : *pTime = iTime;
    };
    const auto Counter = +[](LARGE_INTEGER* pCount) WINAPI {
        LARGE_INTEGER Frequency;
        QueryPerformanceFrequency(&Frequency);
        const BOOL bDone = QueryPerformanceCounter(pCount);
        pCount->QuadPart += iLater * Frequency.QuadPart;
        return bDone;
    };
    Tape tape(server::Root(L"aged"));
    const Replacement LaterTime("msvcrt.dll", "_time64", Time);
    const Replacement LaterCounter("KERNEL32.dll", "QueryPerformanceCounter", Counter);
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    for (; iLater < 7300; iLater += 110) // libcurl gives up a connection that is idle for longer
        ASSERT_EQ(tape.WriteObject(SomeBlocks(1, 1)), ZDV_SUCCESS) << tape.ErrorText() << iLater;
}
