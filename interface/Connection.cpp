#include "interface/Connection.h"

#include "common/Text.h"
#include "device/CurlCalls.h"
#include "device/LastError.h"
#include "interface/ModuleVersion.h"
#include "interface/zdv.h"

#include <algorithm>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr DWORD APP_INIT_FAILURE = 575; // ERROR_APP_INIT_FAILURE, which mingw's headers lack

// What one read from the connection may bring. libssh2 asks an SFTP server for four times as much ahead, which
// keeps a long line full.
constexpr long DOWNLOAD_BUFFER = 1024 * 1024;

constexpr const wchar_t* SFTP = L"sftp://";

constexpr long REPLY_LIMIT = 120; // seconds

// OpenSSL forgets a TLS session after two hours, some servers after one or half of one, and many refuse data
// connections that do not resume their control connection's. An older connection is replaced before the next transfer.
constexpr long CONNECTION_LIFETIME = 1500; // seconds

bool Failed(FtpContext& FC, const FunctionTrace& Trace, const Failure& Reason)
{
    if (!WorkerRuns(FC))
        StoreFailure(FC, Reason);
    Trace.At(quorvel::ENDING).Text(Level::Error, L"FC.m_sLastError", Reason.sLastError);
    return false;
}

bool SetPort(CurlCalls& Calls, const FunctionTrace& Trace, std::uint32_t uiPort)
{
    Trace.At(L"curl_easy_setopt(CURLOPT_PORT)").Number(L"FC.m_uiPort", uiPort);
    Calls.Set(CURLOPT_PORT, static_cast<long>(uiPort), L"Failed to set Port");
    if (!Calls.Succeeded())
        Trace.At(L"CURLOPT_PORT").Number(Level::Error, Calls.FailureText(), Calls.Result());
    return Calls.Succeeded();
}

bool SetOptions(CurlCalls& Calls, const FtpContext& FC)
{
    // Certificates and host keys are compared with those listed, if any: a machine that is restored from bare metal
    // has nothing else to compare with. Both refusals of verification fail with one text.
    Calls.Try(CURLOPT_SSL_VERIFYPEER, 0L, {L"CURLOPT_SSL_VERIFYPEER", L"Failed to set Verify Peer"},
              L"curl_easy_setopt(CURLOPT_SSL_VERIFYPEER, FALSE)");
    Calls.Try(CURLOPT_SSL_VERIFYHOST, 0L, {L"CURLOPT_SSL_VERIFYHOST", L"Failed to set Verify Peer"},
              L"curl_easy_setopt(CURLOPT_SSL_VERIFYHOST, 0)");
    // Not for a listed server, which must speak TLS (set before). But over SFTP that would make libcurl connect for
    // each transfer.
    if (!FC.m_aServerChecks.front().Keys.bListed || FC.m_sProtocol == SFTP)
        Calls.Set(CURLOPT_USE_SSL, long{CURLUSESSL_TRY}, L"Failed to set Use SSL",
                  L"curl_easy_setopt(CURLOPT_USE_SSL, CURLUSESSL_TRY)");
    Calls.Set(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_DEFAULT}, L"Failed to set SSL Version",
              L"curl_easy_setopt(CURLOPT_SSLVERSION, CURL_SSLVERSION_DEFAULT)");
    Calls.Set(CURLOPT_USERNAME, quorvel::ToUtf8(FC.m_sUsername).c_str(), L"Failed to set Username",
              L"curl_easy_setopt(CURLOPT_USERNAME)");
    Calls.Try(CURLOPT_PASSWORD, quorvel::ToUtf8(FC.m_sPassword).c_str(), {},
              L"curl_easy_setopt(CURLOPT_PASSWORD)");
    // A key or an agent of the account that the host runs under would let a wrong password pass, and the restore, where
    // there is neither, would be refused.
    if (!FC.m_sPassword.empty())
        Calls.Set(CURLOPT_SSH_AUTH_TYPES, long{CURLSSH_AUTH_PASSWORD | CURLSSH_AUTH_KEYBOARD},
                  L"Failed to set SSH Authorization");
    Calls.Set(CURLOPT_FTPSSLAUTH, long{CURLFTPAUTH_DEFAULT}, L"Failed to set FTP SSL Authorization",
              L"curl_easy_setopt(CURLOPT_FTPSSLAUTH, CURLFTPAUTH_DEFAULT)");
    Calls.Set(CURLOPT_FTP_FILEMETHOD, long{CURLFTPMETHOD_MULTICWD}, L"Failed to set FTP File Method",
              L"curl_easy_setopt(CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_MULTICWD)");
    Calls.Try(CURLOPT_TCP_KEEPALIVE, 1L, {L"CURLOPT_TCP_KEEPALIVE"},
              L"curl_easy_setopt(CURLOPT_TCP_KEEPALIVE, 1)");
    Calls.Try(CURLOPT_TCP_KEEPIDLE, 120L, {L"CURLOPT_TCP_KEEPIDLE"},
              L"curl_easy_setopt(CURLOPT_TCP_KEEPIDLE, 120)");
    Calls.Try(CURLOPT_TCP_KEEPINTVL, 60L, {L"CURLOPT_TCP_KEEPINTVL"},
              L"curl_easy_setopt(CURLOPT_TCP_KEEPINTVL, 60)");
    Calls.Try(CURLOPT_BUFFERSIZE, DOWNLOAD_BUFFER);
    // A server may take long to write an upload to its disk before it says so: libcurl waits a minute there.
    Calls.Try(CURLOPT_SERVER_RESPONSE_TIMEOUT, REPLY_LIMIT);
    Calls.Try(CURLOPT_MAXLIFETIME_CONN, CONNECTION_LIFETIME);
    // The read callback fills the whole buffer, and would lose the end of an object in a larger one.
    Calls.Set(CURLOPT_UPLOAD_BUFFERSIZE, long{ZDV_BLOCK_SIZE}, L"Failed to set Upload Buffer Size");
    return Calls.Succeeded();
}

const wchar_t* Scheme(std::uint32_t uiPort)
{
    switch (uiPort)
    {
    case 22:
        return SFTP;
    case 990:
        return L"ftps://";
    default:
        return L"ftp://";
    }
}

// A root typed with backslashes, a leading slash or as a whole URL becomes the path of one: relative to the
// login directory over FTP, from the server's top directory (or the login directory's "~/") over SFTP.
std::wstring NormalisedRoot(std::wstring sRoot)
{
    std::replace(sRoot.begin(), sRoot.end(), L'\\', L'/');
    if (!sRoot.empty() && sRoot.front() == L'/')
        sRoot.erase(0, 1);
    if (const std::size_t uiScheme = sRoot.find(L"://"); uiScheme != std::wstring::npos)
        sRoot.erase(0, uiScheme + 3);
    if (const std::size_t uiUser = sRoot.find(L'@'); uiUser != std::wstring::npos)
        sRoot.erase(0, uiUser + 1);
    return sRoot;
}

} // namespace

bool DoInitEx(FtpContext& FC)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"DoInitEx");
    ServerCheck& Check = FC.m_aServerChecks.emplace_front(L"ftp://" + FC.m_sServer, FC.m_uiPort);
    Trace.Verbose(L"curl_easy_init()");
    // An earlier handle is replaced, not cleaned up: a transfer that the host left running still uses it.
    FC.m_pCurl = curl_easy_init();
    if (FC.m_pCurl == nullptr)
        return Failed(FC, Trace, {APP_INIT_FAILURE, L"Failed to initialize cURL"});
    CurlCalls Calls(FC.m_pCurl, Trace);
    // First of all: a host may go on with a handle that was not made ready.
    Calls.Call([&](CURL* pCurl) { return SetServerCheck(pCurl, Check); }, L"Failed to set Server Keys");
    if (!Check.Keys.sDamage.empty())
        return Failed(FC, Trace, {ERROR_BAD_CONFIGURATION, Check.Keys.sDamage.c_str()});
    // Refused, and so traced, by a libcurl without HTTP.
    Calls.Try(CURLOPT_USERAGENT, "ZELT/" PRODUCT_VERSION, {L"Set User Agent failed"},
              L"curl_easy_setopt(CURLOPT_USERAGENT)");
    if (!SetPort(Calls, Trace, FC.m_uiPort))
        return Failed(FC, Trace, {ERROR_BAD_ENVIRONMENT, Calls.FailureText()});
    FC.m_sProtocol = Scheme(FC.m_uiPort);
    Trace.Text(L"FC.m_sProtocol", FC.m_sProtocol);
    if (!SetOptions(Calls, FC))
        return Failed(FC, Trace, {ERROR_BAD_ENVIRONMENT, Calls.FailureText()});
    FC.m_sRoot = NormalisedRoot(FC.m_sRoot);
    Trace.Location(L"FC.m_sRoot", FC.m_sRoot);
    Trace.Ending();
    return true;
}
