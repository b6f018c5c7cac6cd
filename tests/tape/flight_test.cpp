// What happens to an upload while up to some MiB of its data are still on their way to the server.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t WINDOW = 64; // blocks of an SFTP upload that may be unacknowledged

class Flight : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(m_Tape.MakeReady(), ZDV_SUCCESS) << m_Tape.ErrorText();
        ASSERT_EQ(m_Tape.Erase(), ZDV_SUCCESS);
    }

    // The server has an object of the newest version as it was written. Not checked if its disk cannot be looked at.
    void ExpectStored(std::size_t uiObject, const Blocks& aObject)
    {
        if (!server::HasStore())
            return;
        const std::wstring sVersion = FOLDER + (L"/" + m_Tape.Versions().back());
        const std::wstring sName = server::Names(sVersion).at(uiObject - 1);
        EXPECT_TRUE(server::Content(server::Store(sVersion + L"/" + sName)) == aObject) << uiObject;
    }

    // The status of an object of which a part is on its way to a stopped server when sCommand comes. That is later than
    // libcurl waits for the server's end of a TLS connection.
    ZDV_STATUS WriteToStoppedServer(const std::string& sCommand, DWORD dwMilliseconds = 3000)
    {
        EXPECT_EQ(m_Tape.Write(m_aFirst), ZDV_SUCCESS) << m_Tape.ErrorText();
        server::Control("stop");
        const HANDLE hHost = CreateThread(nullptr, 0, WriteObject, this, 0, nullptr);
        EXPECT_EQ(WaitForSingleObject(hHost, dwMilliseconds), DWORD{WAIT_TIMEOUT})
            << "the server knows nothing";
        server::Control(sCommand);
        WaitForSingleObject(hHost, INFINITE);
        DWORD dwStatus = 0;
        GetExitCodeThread(hHost, &dwStatus);
        CloseHandle(hHost);
        return dwStatus;
    }

    static DWORD WINAPI WriteObject(LPVOID pFlight)
    {
        auto& flight = *static_cast<Flight*>(pFlight);
        return flight.m_Tape.WriteObject(flight.m_aRest);
    }

    static constexpr const wchar_t* FOLDER = L"flight";
    Tape m_Tape{server::Root(FOLDER)};
    Blocks m_aFirst = SomeBlocks(1, 4), m_aRest = SomeBlocks(8, 5);
};

using Stalled = Flight;

} // namespace

TEST_F(Flight, EverySizeAroundTheWindowArrivesWhole)
{
    std::vector<Blocks> aObjects = {SomeBlocks(1, 1), SomeBlocks(1, 2)}; // the headers
    for (const std::size_t uiBlocks : {WINDOW - 1, WINDOW, std::size_t{1}, WINDOW + 1, 3 * WINDOW})
        aObjects.push_back(SomeBlocks(uiBlocks, static_cast<unsigned>(uiBlocks)));
    for (const Blocks& aObject : aObjects)
        ASSERT_EQ(m_Tape.WriteObject(aObject), ZDV_SUCCESS) << m_Tape.ErrorText();
    ASSERT_EQ(m_Tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << m_Tape.ErrorText();
    for (std::size_t i = 0; i < aObjects.size(); ++i)
    {
        ExpectStored(i + 1, aObjects[i]);
        Blocks aRead;
        ASSERT_EQ(m_Tape.Read(aObjects[i].size() / ZDV_BLOCK_SIZE, aRead), ZDV_SUCCESS) << i + 1;
        EXPECT_TRUE(aRead == aObjects[i]) << i + 1;
        ASSERT_EQ(m_Tape.Read(1, aRead), ZDV_FILEMARK_REACHED);
        ASSERT_EQ(m_Tape.Position(ZDV_SP_FFM, 0), ZDV_SUCCESS); // data's filemark is not reported again
    }
}

TEST_F(Flight, ServerKilledAfterTheLastBlockFailsTheUpload)
{
    EXPECT_EQ(WriteToStoppedServer("kill"), ZDV_DEVICE_ERROR);
    EXPECT_TRUE(m_Tape.ErrorText().starts_with(L"ERROR: Perform operation failed [")) << m_Tape.ErrorText();
    server::Control("start");
    ASSERT_EQ(m_Tape.MakeReady(), ZDV_SUCCESS) << m_Tape.ErrorText();
    ASSERT_EQ(m_Tape.Erase(), ZDV_SUCCESS);
    EXPECT_EQ(m_Tape.WriteObject(m_aRest), ZDV_SUCCESS) << m_Tape.ErrorText();
}

TEST_F(Flight, StoppedServerHoldsTheFilemarkBack)
{
    if (server::Variable(L"ZDV_TEST_TRAITS").find(L"drops-stopped-sessions") != std::wstring::npos)
        GTEST_SKIP() << "the server takes a stopped session for an ended one";
    EXPECT_EQ(WriteToStoppedServer("cont"), ZDV_SUCCESS) << m_Tape.ErrorText();
    m_aRest.insert(m_aRest.begin(), m_aFirst.begin(), m_aFirst.end());
    ExpectStored(1, m_aRest);
}

// More data than all buffers hold, and longer than libcurl waits for any reply: a transfer itself has no time limit.
TEST_F(Stalled, UploadIsWholeWhenTheServerGoesOn)
{
    m_aFirst = SomeBlocks(64, 6); // so much that the server has answered all commands
    m_aRest = SomeBlocks(512, 7);
    EXPECT_EQ(WriteToStoppedServer("cont", 125000), ZDV_SUCCESS) << m_Tape.ErrorText();
    m_aRest.insert(m_aRest.begin(), m_aFirst.begin(), m_aFirst.end());
    ExpectStored(1, m_aRest);
}
