// Measures the module against libcurl alone, and against libcurl with nothing but a thread and a pipe for each
// object, as a host of the module has them: the same build, the same server, the same options, turn by turn.
// Prints one line per run, "measure who MiB/s"; the program that starts it takes medians and ratios.
#include "catalogue/ServerUrl.h"
#include "common/Url.h"
#include "interface/Connection.h"
#include "interface/FtpContext.h"
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t MIB = 1024 * 1024;
constexpr std::size_t REQUEST = 16; // blocks a host hands over or asks for with one call
constexpr const wchar_t* FOLDER = L"bench";

// What one measure transfers.
struct Amount
{
    std::size_t uiObjects;
    std::size_t uiBlocks; // of each object

    double Mebibytes() const
    {
        return static_cast<double>(uiObjects * uiBlocks * ZDV_BLOCK_SIZE) / static_cast<double>(MIB);
    }
};

void Check(bool bGood, const std::string& sWhat)
{
    if (!bGood)
        throw std::runtime_error(sWhat);
}

template <typename Work> void Measure(const char* sMeasure, const char* sWho, const Amount& amount, Work work)
{
    const auto tStart = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> Seconds = std::chrono::steady_clock::now() - tStart;
    std::printf("%s %s %.2f\n", sMeasure, sWho, amount.Mebibytes() / Seconds.count());
    std::fflush(stdout);
}

// The module's handle without the module's threads and pipes, and with larger buffers.
class Bare
{
public:
    Bare()
    {
        m_FC.m_sServer = server::Variable(L"ZDV_TEST_SERVER");
        m_FC.m_uiPort = static_cast<std::uint32_t>(std::stoul(server::Variable(L"ZDV_TEST_PORT")));
        m_FC.m_sUsername = server::Variable(L"ZDV_TEST_USER");
        m_FC.m_sPassword = server::Variable(L"ZDV_TEST_PASSWORD");
        m_FC.m_sRoot = server::Root(FOLDER);
        Check(DoInitEx(m_FC), "the handle cannot be set up");
        Set(CURLOPT_BUFFERSIZE, 1024 * 1024L);
        Set(CURLOPT_FTP_CREATE_MISSING_DIRS, 1L);
        Set(CURLOPT_READFUNCTION, Send);
        Set(CURLOPT_WRITEFUNCTION, Receive);
        Set(CURLOPT_READDATA, this);
        Set(CURLOPT_WRITEDATA, this);
    }

    void Upload(const Amount& amount)
    {
        Set(CURLOPT_UPLOAD, 1L);
        Set(CURLOPT_UPLOAD_BUFFERSIZE, LARGE_UPLOAD_BUFFER);
        for (std::size_t i = 0; i < amount.uiObjects; ++i)
        {
            m_uiLeft = amount.uiBlocks * ZDV_BLOCK_SIZE;
            Perform(amount, i);
        }
    }

    void UploadByPipe(const Amount& amount)
    {
        const Blocks aRequest = SomeBlocks(std::min(amount.uiBlocks, REQUEST), 1);
        Set(CURLOPT_UPLOAD, 1L);
        Set(CURLOPT_UPLOAD_BUFFERSIZE, ZDV_BLOCK_SIZE); // as the module's, which a host's blocks divide
        for (std::size_t i = 0; i < amount.uiObjects; ++i)
            PerformByPipe(amount, i, true, [&](HANDLE hPipe) {
                DWORD dwWritten = 0;
                for (std::size_t uiDone = 0; uiDone < amount.uiBlocks; uiDone += REQUEST)
                    WriteFile(hPipe, aRequest.data(), static_cast<DWORD>(aRequest.size()), &dwWritten,
                              nullptr);
                FlushFileBuffers(hPipe);
            });
    }

    void DownloadByPipe(const Amount& amount)
    {
        std::vector<char> aRequest(std::min(amount.uiBlocks, REQUEST) * ZDV_BLOCK_SIZE);
        Set(CURLOPT_UPLOAD, 0L);
        for (std::size_t i = 0; i < amount.uiObjects; ++i)
            PerformByPipe(amount, i, false, [&](HANDLE hPipe) {
                DWORD dwRead = 0;
                while (
                    ReadFile(hPipe, aRequest.data(), static_cast<DWORD>(aRequest.size()), &dwRead, nullptr))
                    continue;
            });
    }

    void Download(const Amount& amount)
    {
        Set(CURLOPT_UPLOAD, 0L);
        m_uiLeft = amount.uiObjects * amount.uiBlocks * ZDV_BLOCK_SIZE;
        for (std::size_t i = 0; i < amount.uiObjects; ++i)
            Perform(amount, i);
        Check(m_uiLeft == 0, "libcurl did not deliver what it had stored");
    }

private:
    static std::size_t Send(char* pBuffer, std::size_t uiSize, std::size_t uiItems, void* pBare)
    {
        auto& bare = *static_cast<Bare*>(pBare);
        const std::size_t uiBytes = std::min(bare.m_uiLeft, uiSize * uiItems);
        if (bare.m_hPipe == nullptr)
            std::memset(pBuffer, 'z', uiBytes);
        for (std::size_t uiDone = 0; bare.m_hPipe != nullptr && uiDone < uiBytes;)
        {
            DWORD dwRead = 0;
            if (!ReadFile(bare.m_hPipe, pBuffer + uiDone, static_cast<DWORD>(uiBytes - uiDone), &dwRead,
                          nullptr))
                return CURL_READFUNC_ABORT;
            uiDone += dwRead;
        }
        bare.m_uiLeft -= uiBytes;
        return uiBytes;
    }

    static std::size_t Receive(char* pData, std::size_t uiSize, std::size_t uiItems, void* pBare)
    {
        auto& bare = *static_cast<Bare*>(pBare);
        auto dwBytes = static_cast<DWORD>(uiSize * uiItems);
        if (bare.m_hPipe != nullptr && !WriteFile(bare.m_hPipe, pData, dwBytes, &dwBytes, nullptr))
            return CURL_WRITEFUNC_ERROR;
        bare.m_uiLeft -= dwBytes;
        return dwBytes;
    }

    // The thread's side of a pipe.
    static DWORD WINAPI Run(LPVOID pBare)
    {
        auto& bare = *static_cast<Bare*>(pBare);
        bare.m_hPipe = CreateFileW(PIPE_NAME, bare.m_dwAccess, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        bare.m_enResult = curl_easy_perform(bare.m_FC.m_pCurl);
        CloseHandle(std::exchange(bare.m_hPipe, nullptr));
        return 0;
    }

    // One object by a thread and a pipe of its own; work is the host's side.
    template <typename Work>
    void PerformByPipe(const Amount& amount, std::size_t uiObject, bool bUpload, Work work)
    {
        SetUrl(amount, uiObject);
        m_uiLeft = amount.uiBlocks * ZDV_BLOCK_SIZE;
        m_dwAccess = bUpload ? GENERIC_READ : GENERIC_WRITE;
        const HANDLE hServer =
            CreateNamedPipeW(PIPE_NAME, bUpload ? PIPE_ACCESS_OUTBOUND : PIPE_ACCESS_INBOUND,
                             PIPE_TYPE_BYTE | PIPE_WAIT, 1, ZDV_BLOCK_SIZE, ZDV_BLOCK_SIZE, 0, nullptr);
        const HANDLE hThread = CreateThread(nullptr, 0, Run, this, 0, nullptr);
        ConnectNamedPipe(hServer, nullptr); // fails when the thread was faster, which is as good
        work(hServer);
        CloseHandle(hServer);
        WaitForSingleObject(hThread, INFINITE);
        CloseHandle(hThread);
        Check(m_enResult == CURLE_OK && m_uiLeft == 0, "the transfer by a pipe");
    }

    template <typename Value> void Set(CURLoption enOption, Value value)
    {
        Check(curl_easy_setopt(m_FC.m_pCurl, enOption, value) == CURLE_OK, "an option is refused");
    }

    // As deep as an object of a version lies.
    void SetUrl(const Amount& amount, std::size_t uiObject)
    {
        const std::wstring sUrl =
            RootUrl(m_FC) + L"/bare/" + std::to_wstring(amount.uiBlocks) + L"." + std::to_wstring(uiObject);
        Set(CURLOPT_URL, quorvel::NarrowUrl(sUrl).c_str());
    }

    void Perform(const Amount& amount, std::size_t uiObject)
    {
        SetUrl(amount, uiObject);
        const CURLcode enCurlRc = curl_easy_perform(m_FC.m_pCurl);
        Check(enCurlRc == CURLE_OK, curl_easy_strerror(enCurlRc));
    }

    static constexpr long LARGE_UPLOAD_BUFFER = 2048 * 1024;
    static constexpr const wchar_t* PIPE_NAME = L"\\\\.\\pipe\\zdv_bench";

    FtpContext m_FC;
    std::size_t m_uiLeft = 0;
    HANDLE m_hPipe = nullptr; // the thread's end
    DWORD m_dwAccess = 0;
    CURLcode m_enResult = CURLE_OK;
};

class Drive
{
public:
    Drive() : m_Tape(server::Root(FOLDER)) { Check(m_Tape.MakeReady(), "Make Unit Ready"); }

    // A new tape with its headers: the next object is one of plain data.
    void StartBackup()
    {
        Check(m_Tape.Erase(), "Erase");
        m_uiObject = 0;
        Write({FIRST_DATA_OBJECT - 1, 1});
    }

    void Write(const Amount& amount)
    {
        const Blocks aRequest = SomeBlocks(std::min(amount.uiBlocks, REQUEST), 1);
        for (std::size_t i = 0; i < amount.uiObjects; ++i, ++m_uiObject)
        {
            for (std::size_t uiDone = 0; uiDone < amount.uiBlocks; uiDone += REQUEST)
                Check(m_Tape.Write(aRequest), "Write");
            Check(m_Tape.Filemark() == 0, "the upload: " + Reason());
        }
    }

    void GoToData()
    {
        Check(m_Tape.Position(ZDV_SP_BOM), "Rewind");
        m_uiObject = FIRST_DATA_OBJECT - 1;
        Check(m_Tape.Position(ZDV_SP_FFM, static_cast<std::int32_t>(m_uiObject)), "Space");
    }

    void Read(const Amount& amount)
    {
        for (std::size_t i = 0; i < amount.uiObjects; ++i)
        {
            for (std::size_t uiDone = 0; uiDone < amount.uiBlocks; uiDone += REQUEST)
                Check(m_Tape.Read(std::min(amount.uiBlocks, REQUEST), m_aRead), "Read");
            ReadFilemark();
        }
    }

private:
    static constexpr std::size_t FIRST_DATA_OBJECT = 3;

    // Reported twice after data and once after a header.
    void ReadFilemark()
    {
        ++m_uiObject;
        const bool bHeader = m_uiObject == 1 || (m_uiObject + 1) % 3 == 0;
        for (int i = bHeader ? 1 : 0; i < 2; ++i)
            Check(m_Tape.Read(1, m_aRead) == ZDV_FILEMARK_REACHED, "no filemark: " + Reason());
    }

    std::string Reason() { return std::filesystem::path(m_Tape.ErrorText()).string(); }

    void Check(ZDV_STATUS uiRc, const char* sVerb)
    {
        Check(uiRc == ZDV_SUCCESS, std::string(sVerb) + ": " + Reason());
    }
    static void Check(bool bGood, const std::string& sWhat) { ::Check(bGood, sWhat); }

    Tape m_Tape;
    Blocks m_aRead;
    std::size_t m_uiObject = 0; // the last one written or read
};

void Compare(const Amount& large, const Amount& small, int iRounds)
{
    Drive drive;
    Bare bare;
    bare.Upload({1, 1}); // connects
    for (int i = 0; i < iRounds; ++i)
    {
        drive.StartBackup();
        Measure("up", "module", large, [&] { drive.Write(large); });
        Measure("up", "bare", large, [&] { bare.Upload(large); });
        Measure("up", "pipe", large, [&] { bare.UploadByPipe(large); });
        Measure("small-up", "module", small, [&] { drive.Write(small); });
        Measure("small-up", "bare", small, [&] { bare.Upload(small); });
        Measure("small-up", "pipe", small, [&] { bare.UploadByPipe(small); });
        drive.GoToData();
        Measure("down", "module", large, [&] { drive.Read(large); });
        Measure("down", "bare", large, [&] { bare.Download(large); });
        Measure("down", "pipe", large, [&] { bare.DownloadByPipe(large); });
        Measure("small-down", "module", small, [&] { drive.Read(small); });
        Measure("small-down", "bare", small, [&] { bare.Download(small); });
        Measure("small-down", "pipe", small, [&] { bare.DownloadByPipe(small); });
    }
}

void MeasureModule(const Amount& large)
{
    Drive drive;
    drive.StartBackup();
    Measure("up", "module", large, [&] { drive.Write(large); });
    drive.GoToData();
    Measure("down", "module", large, [&] { drive.Read(large); });
}

} // namespace

// bench MEBIBYTES                    one object of that size, the module alone
// bench MEBIBYTES OBJECTS ROUNDS     also so many objects of one block, in turn with libcurl alone
int main(int argc, char** argv)
{
    try
    {
        const auto Argument = [&](int i) { return static_cast<std::size_t>(std::atoi(argv[i])); };
        if (argc == 2)
            MeasureModule({1, Argument(1) * REQUEST});
        else if (argc == 4)
            Compare({1, Argument(1) * REQUEST}, {Argument(2), 1}, std::atoi(argv[3]));
        else
            throw std::runtime_error("bench MEBIBYTES [OBJECTS ROUNDS]");
    }
    catch (const std::exception& Error)
    {
        std::fprintf(stderr, "bench: %s\n", Error.what());
        return 1;
    }
    return 0;
}
