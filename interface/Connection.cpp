#include "interface/Connection.h"

#include "common/FunctionTrace.h"
#include "common/Text.h"
#include "interface/LastError.h"
#include "interface/zdv.h"

#include <algorithm>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr DWORD APP_INIT_FAILURE = 575; // ERROR_APP_INIT_FAILURE, which mingw's headers lack

bool Failed(FtpContext& FC, std::uint32_t dwLastError, const wchar_t* sError)
{
    StoreLastError(FC, {dwLastError, sError});
    FunctionTrace(L"DoInitEx : ... ending").Text(Level::Error, L"FC.m_sLastError", sError);
    return false;
}

enum class OnFailure
{
    Fatal,
    Traced,
    Ignored
};

struct Option
{
    const wchar_t* sStep;
    CURLcode (*Set)(CURL* pCurl, const FtpContext& FC);
    OnFailure enOnFailure;
    const wchar_t* sFailure; // the last error's text, or what names a traced option's code; null for none
    const wchar_t* sLabel;   // under which the code is traced; null for none
};

// What one read from the connection may bring. libssh2 asks an SFTP server for four times as much ahead, which
// keeps a long line full.
constexpr long DOWNLOAD_BUFFER = 1024 * 1024;

constexpr long REPLY_LIMIT = 120; // seconds

template <CURLoption enOption, long lValue> CURLcode SetLong(CURL* pCurl, const FtpContext&)
{
    return curl_easy_setopt(pCurl, enOption, lValue);
}

CURLcode SetUserAgent(CURL* pCurl, const FtpContext&)
{
    return curl_easy_setopt(pCurl, CURLOPT_USERAGENT, "ZELT/7.2");
}

CURLcode SetPort(CURL* pCurl, const FtpContext& FC)
{
    FunctionTrace(L"DoInitEx : curl_easy_setopt(CURLOPT_PORT)")
        .Number(Level::Verbose, L"FC.m_uiPort", FC.m_uiPort);
    return curl_easy_setopt(pCurl, CURLOPT_PORT, static_cast<long>(FC.m_uiPort));
}

CURLcode SetUsername(CURL* pCurl, const FtpContext& FC)
{
    return curl_easy_setopt(pCurl, CURLOPT_USERNAME, quorvel::ToUtf8(FC.m_sUsername).c_str());
}

CURLcode SetPassword(CURL* pCurl, const FtpContext& FC)
{
    return curl_easy_setopt(pCurl, CURLOPT_PASSWORD, quorvel::ToUtf8(FC.m_sPassword).c_str());
}

// Refused, and so traced, by a libcurl without HTTP.
constexpr Option USER_AGENT = {L"curl_easy_setopt(CURLOPT_USERAGENT)", SetUserAgent, OnFailure::Traced,
                               nullptr, L"DoInitEx : Set User Agent failed"};
// Traces its own step, with the port's value.
constexpr Option PORT = {nullptr, SetPort, OnFailure::Fatal, L"Failed to set Port",
                         L"DoInitEx : CURLOPT_PORT"};

// Certificates and host keys are not verified: a machine that is restored from bare metal has none to
// compare with. Both refusals of verification fail with one text.
constexpr Option OPTIONS[] = {
    {L"curl_easy_setopt(CURLOPT_SSL_VERIFYPEER, FALSE)", SetLong<CURLOPT_SSL_VERIFYPEER, 0>,
     OnFailure::Traced, L"Failed to set Verify Peer", L"DoInitEx : CURLOPT_SSL_VERIFYPEER"},
    {L"curl_easy_setopt(CURLOPT_SSL_VERIFYHOST, 0)", SetLong<CURLOPT_SSL_VERIFYHOST, 0>, OnFailure::Traced,
     L"Failed to set Verify Peer", L"DoInitEx : CURLOPT_SSL_VERIFYHOST"},
    {L"curl_easy_setopt(CURLOPT_USE_SSL, CURLUSESSL_TRY)", SetLong<CURLOPT_USE_SSL, CURLUSESSL_TRY>,
     OnFailure::Fatal, L"Failed to set Use SSL", nullptr},
    {L"curl_easy_setopt(CURLOPT_SSLVERSION, CURL_SSLVERSION_DEFAULT)",
     SetLong<CURLOPT_SSLVERSION, CURL_SSLVERSION_DEFAULT>, OnFailure::Fatal, L"Failed to set SSL Version",
     nullptr},
    {L"curl_easy_setopt(CURLOPT_USERNAME)", SetUsername, OnFailure::Fatal, L"Failed to set Username",
     nullptr},
    {L"curl_easy_setopt(CURLOPT_PASSWORD)", SetPassword, OnFailure::Ignored, nullptr, nullptr},
    {L"curl_easy_setopt(CURLOPT_FTPSSLAUTH, CURLFTPAUTH_DEFAULT)",
     SetLong<CURLOPT_FTPSSLAUTH, CURLFTPAUTH_DEFAULT>, OnFailure::Fatal,
     L"Failed to set FTP SSL Authorization", nullptr},
    {L"curl_easy_setopt(CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_MULTICWD)",
     SetLong<CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_MULTICWD>, OnFailure::Fatal,
     L"Failed to set FTP File Method", nullptr},
    {L"curl_easy_setopt(CURLOPT_TCP_KEEPALIVE, 1)", SetLong<CURLOPT_TCP_KEEPALIVE, 1>, OnFailure::Traced,
     nullptr, L"DoInitEx : CURLOPT_TCP_KEEPALIVE"},
    {L"curl_easy_setopt(CURLOPT_TCP_KEEPIDLE, 120)", SetLong<CURLOPT_TCP_KEEPIDLE, 120>, OnFailure::Traced,
     nullptr, L"DoInitEx : CURLOPT_TCP_KEEPIDLE"},
    {L"curl_easy_setopt(CURLOPT_TCP_KEEPINTVL, 60)", SetLong<CURLOPT_TCP_KEEPINTVL, 60>, OnFailure::Traced,
     nullptr, L"DoInitEx : CURLOPT_TCP_KEEPINTVL"},
    {nullptr, SetLong<CURLOPT_BUFFERSIZE, DOWNLOAD_BUFFER>, OnFailure::Fatal, L"Failed to set Buffer Size",
     nullptr},
    // A server may write for long to its disk before it says that an upload is complete: libcurl waits a minute only.
    {nullptr, SetLong<CURLOPT_SERVER_RESPONSE_TIMEOUT, REPLY_LIMIT>, OnFailure::Fatal,
     L"Failed to set Response Timeout", nullptr},
    // The read callback fills the whole buffer, and would lose the end of an object in a larger one.
    {nullptr, SetLong<CURLOPT_UPLOAD_BUFFERSIZE, ZDV_BLOCK_SIZE>, OnFailure::Fatal,
     L"Failed to set Upload Buffer Size", nullptr},
};

bool Apply(FtpContext& FC, const FunctionTrace& Trace, const Option& Step)
{
    if (Step.sStep != nullptr)
        Trace.Verbose(Step.sStep);
    const CURLcode enCurlRc = Step.Set(FC.m_pCurl, FC);
    if (enCurlRc == CURLE_OK || Step.enOnFailure == OnFailure::Ignored)
        return true;
    if (Step.sLabel != nullptr)
        FunctionTrace(Step.sLabel)
            .Number(Level::Error, Step.sFailure != nullptr ? Step.sFailure : L"enCurlRc",
                    static_cast<std::uint32_t>(enCurlRc));
    return Step.enOnFailure == OnFailure::Traced || Failed(FC, ERROR_BAD_ENVIRONMENT, Step.sFailure);
}

const wchar_t* Scheme(std::uint32_t uiPort)
{
    switch (uiPort)
    {
    case 22:
        return L"sftp://";
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
    const FunctionTrace Trace(L"DoInitEx");
    Trace.Starting();
    Trace.Verbose(L"curl_easy_init()");
    // An earlier handle is replaced, not cleaned up: a transfer that the host left running still uses it.
    FC.m_pCurl = curl_easy_init();
    if (FC.m_pCurl == nullptr)
        return Failed(FC, APP_INIT_FAILURE, L"Failed to initialize cURL");
    if (!Apply(FC, Trace, USER_AGENT) || !Apply(FC, Trace, PORT))
        return false;
    FC.m_sProtocol = Scheme(FC.m_uiPort);
    Trace.Text(Level::Verbose, L"FC.m_sProtocol", FC.m_sProtocol);
    for (const Option& Step : OPTIONS)
        if (!Apply(FC, Trace, Step))
            return false;
    FC.m_sRoot = NormalisedRoot(FC.m_sRoot);
    Trace.Location(L"FC.m_sRoot", FC.m_sRoot);
    Trace.Ending();
    return true;
}
