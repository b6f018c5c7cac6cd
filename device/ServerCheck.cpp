#include "device/ServerCheck.h"

#include "common/Text.h"
#include "common/Url.h"
#include "device/CurlCallback.h"

#include <algorithm>
#include <new>
#include <openssl/ssl.h>
#include <utility>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr std::uint32_t LAST_PORT = 65535; // a higher one fails the set-up, and the handle keeps the URL's
constexpr std::size_t HASH_SIZE = 32;      // of SHA-256

// pHash is that of the key that the server shows, uiLength that of its text as it is listed.
bool IsListed(void* pCheck, const char* pKind, const unsigned char* pHash, std::size_t uiLength)
{
    constexpr std::size_t YES = 1;
    return YES == GuardedCallback(L"ServerCheck", [&](const FunctionTrace& Trace) -> std::size_t {
               auto& Check = *static_cast<ServerCheck*>(pCheck);
               unsigned char aText[2 * HASH_SIZE];
               EVP_EncodeBlock(aText, pHash, HASH_SIZE);
               const std::string sShown = pKind + std::string(aText, aText + uiLength);
               const bool bListed = std::ranges::find(Check.Keys.aKeys, sShown) != Check.Keys.aKeys.end();
               Trace.Text(bListed ? Level::Information : Level::Error, L"sShown", sShown);
               if (!bListed)
                   Check.sRefusal =
                       L": the server shows " + quorvel::Widen(sShown) + L", which zlt.ini does not list";
               return bListed ? YES : 0;
           });
}

// OpenSSL's, in each full handshake. Any certificate that has the key is accepted.
int CheckCertificate(X509_STORE_CTX* pContext, void* pCheck)
{
    unsigned char aHash[HASH_SIZE];
    const X509* const pShown = X509_STORE_CTX_get0_cert(pContext);
    const bool bPasses = pShown != nullptr &&
                         ASN1_item_digest(ASN1_ITEM_rptr(X509_PUBKEY), EVP_sha256(),
                                          X509_get_X509_PUBKEY(pShown), aHash, nullptr) == 1 &&
                         IsListed(pCheck, "sha256//", aHash, 44);
    X509_STORE_CTX_set_error(pContext, bPasses ? X509_V_OK : X509_V_ERR_APPLICATION_VERIFICATION);
    return bPasses ? 1 : 0;
}

// libcurl's, before each handshake, those of data connections too.
CURLcode PrepareTls(CURL*, void* pTls, void* pCheck)
{
    SSL_CTX_set_verify(static_cast<SSL_CTX*>(pTls), SSL_VERIFY_PEER, nullptr); // a refusal ends the handshake
    SSL_CTX_set_cert_verify_callback(static_cast<SSL_CTX*>(pTls), &CheckCertificate, pCheck);
    return CURLE_OK;
}

// libcurl's, before it logs in over SFTP.
int CheckHostKey(void* pCheck, int, const char* pKey, std::size_t uiSize)
{
    unsigned char aHash[HASH_SIZE];
    const bool bPasses = EVP_Digest(pKey, uiSize, aHash, nullptr, EVP_sha256(), nullptr) == 1 &&
                         IsListed(pCheck, "SHA256:", aHash, 43);
    return bPasses ? CURLKHMATCH_OK : CURLKHMATCH_MISMATCH;
}

ServerCheck* CheckOf(CURL* pCurl)
{
    ServerCheck* pCheck = nullptr;
    curl_easy_getinfo(pCurl, CURLINFO_PRIVATE, &pCheck);
    return pCheck;
}

std::string ServerOf(const std::wstring& sURL, std::uint32_t uiOptionPort)
{
    return quorvel::UrlPart(sURL, CURLUPART_HOST) + ':' +
           (uiOptionPort != 0 && uiOptionPort <= LAST_PORT
                ? std::to_string(uiOptionPort)
                : quorvel::UrlPart(sURL, CURLUPART_PORT, CURLU_DEFAULT_PORT));
}

} // namespace

ServerCheck::ServerCheck(const std::wstring& sURL, std::uint32_t uiOptionPort)
    : uiPort(uiOptionPort), sServer(ServerOf(sURL, uiPort)), Keys(quorvel::ReadKeys(sServer))
{
}

CURLcode SetServerCheck(CURL* pCurl, ServerCheck& Check)
{
    CURLcode enCurlRc = CURLE_OK;
    const auto Set = [&](CURLoption enOption, auto value) {
        if (enCurlRc == CURLE_OK)
            enCurlRc = curl_easy_setopt(pCurl, enOption, value);
    };
    // Each option is set back, too: the handle's last server may have been listed. Over SFTP CURLUSESSL_ALL makes
    // libcurl connect for each transfer, so the set-up replaces it; for a server that is named later it stays.
    Set(CURLOPT_PRIVATE, &Check);
    Set(CURLOPT_USE_SSL, long{Check.Keys.bListed ? CURLUSESSL_ALL : CURLUSESSL_TRY});
    Set(CURLOPT_SSL_CTX_FUNCTION, Check.Keys.bListed ? &PrepareTls : nullptr);
    Set(CURLOPT_SSL_CTX_DATA, &Check);
    Set(CURLOPT_SSH_HOSTKEYFUNCTION, Check.Keys.bListed ? &CheckHostKey : nullptr);
    Set(CURLOPT_SSH_HOSTKEYDATA, &Check);
    return enCurlRc;
}

CURLcode PerformChecked(CURL* pCurl)
try
{
    ServerCheck* const pCheck = CheckOf(pCurl);
    if (pCheck == nullptr)
        return curl_easy_perform(pCurl);
    const char* pURL = nullptr;
    curl_easy_getinfo(pCurl, CURLINFO_EFFECTIVE_URL, &pURL);
    CURLcode enCurlRc = CURLE_OK;
    // A host may name another server and not make the device ready.
    if (const std::wstring sURL = quorvel::Widen(pURL); ServerOf(sURL, pCheck->uiPort) != pCheck->sServer)
    {
        *pCheck = ServerCheck(sURL, pCheck->uiPort);
        enCurlRc = SetServerCheck(pCurl, *pCheck);
        if (enCurlRc != CURLE_OK)
            pCheck->sServer.clear(); // the next transfer must not go on with half of the options
    }
    pCheck->sRefusal = pCheck->Keys.sDamage.empty() ? L"" : L": " + pCheck->Keys.sDamage;
    if (!pCheck->sRefusal.empty())
        return CURLE_PEER_FAILED_VERIFICATION;
    return enCurlRc == CURLE_OK ? curl_easy_perform(pCurl) : enCurlRc;
}
catch (const std::bad_alloc&)
{
    return CURLE_OUT_OF_MEMORY; // as libcurl says it: the callers set the handle back
}

std::wstring TakeRefusal(CURL* pCurl, CURLcode& enCurlRc)
{
    ServerCheck* const pCheck = CheckOf(pCurl);
    const std::wstring sRefusal = pCheck != nullptr ? std::exchange(pCheck->sRefusal, {}) : L"";
    if (enCurlRc == CURLE_OK)
        return {};
    if (!sRefusal.empty())
        enCurlRc = CURLE_PEER_FAILED_VERIFICATION;
    else if (pCheck != nullptr && pCheck->Keys.bListed && enCurlRc == CURLE_USE_SSL_FAILED)
        return L": zlt.ini asks for a key, and the server refuses TLS for its commands or its data";
    return sRefusal;
}
