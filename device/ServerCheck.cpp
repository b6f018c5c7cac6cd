#include "device/ServerCheck.h"

#include "common/Text.h"
#include "common/Url.h"
#include "device/CurlCallback.h"

#include <algorithm>
#include <openssl/ssl.h>
#include <utility>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

using Sha256 = unsigned char[32];

constexpr std::uint32_t LAST_PORT = 65535; // a higher one fails the set-up, and the handle keeps the URL's

bool IsListed(const FunctionTrace& Trace, ServerCheck& Check, const std::string& sShown)
{
    const bool bListed = std::ranges::find(Check.Keys.aKeys, sShown) != Check.Keys.aKeys.end();
    Trace.Text(bListed ? Level::Information : Level::Error, L"sShown", sShown);
    if (!bListed)
        Check.sRefusal = L": the server shows " + quorvel::Widen(sShown) + L", which zlt.ini does not list";
    return bListed;
}

// digest(Sha256&) hashes the key that the server shows; uiLength is that of the hash as it is listed.
template <typename Digest>
bool Passes(void* pCheck, const char* pKind, std::size_t uiLength, const Digest& digest)
{
    constexpr std::size_t YES = 1;
    return YES == GuardedCallback(L"ServerCheck", [&](const FunctionTrace& Trace) -> std::size_t {
               Sha256 aHash;
               unsigned char aText[2 * sizeof(aHash)];
               if (!digest(aHash))
                   return 0;
               EVP_EncodeBlock(aText, aHash, sizeof(aHash));
               const std::string sShown = pKind + std::string(aText, aText + uiLength);
               return IsListed(Trace, *static_cast<ServerCheck*>(pCheck), sShown) ? YES : 0;
           });
}

// OpenSSL's, in each full handshake. Any certificate will do that has the key.
int CheckCertificate(X509_STORE_CTX* pContext, void* pCheck)
{
    const X509* const pShown = X509_STORE_CTX_get0_cert(pContext);
    const bool bPasses = Passes(pCheck, "sha256//", 44, [&](Sha256& aHash) {
        return pShown != nullptr && ASN1_item_digest(ASN1_ITEM_rptr(X509_PUBKEY), EVP_sha256(),
                                                     X509_get_X509_PUBKEY(pShown), aHash, nullptr) == 1;
    });
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
    const bool bPasses = Passes(pCheck, "SHA256:", 43, [&](Sha256& aHash) {
        return EVP_Digest(pKey, uiSize, aHash, nullptr, EVP_sha256(), nullptr) == 1;
    });
    return bPasses ? CURLKHMATCH_OK : CURLKHMATCH_MISMATCH;
}

ServerCheck* CheckOf(CURL* pCurl)
{
    ServerCheck* pCheck = nullptr;
    curl_easy_getinfo(pCurl, CURLINFO_PRIVATE, &pCheck);
    return pCheck;
}

// Of the transfer that is set on a handle. libcurl's URLs are ASCII.
std::wstring UrlOf(CURL* pCurl)
{
    const char* pURL = nullptr;
    curl_easy_getinfo(pCurl, CURLINFO_EFFECTIVE_URL, &pURL);
    return quorvel::Widen(pURL);
}

std::string ServerIn(const std::wstring& sURL)
{
    return quorvel::UrlPart(sURL, CURLUPART_HOST) + ':' + quorvel::UrlPart(sURL, CURLUPART_PORT);
}

// Why a handle may not be used for the URL that is set on it; empty when it may.
std::wstring Objection(CURL* pCurl, const ServerCheck& Check)
{
    if (!Check.Keys.sDamage.empty())
        return L": " + Check.Keys.sDamage;
    const std::wstring sURL = UrlOf(pCurl);
    if ((ServerIn(sURL) == Check.sServer && (Check.Keys.bListed || Check.uiPort <= LAST_PORT)) ||
        (!Check.Keys.bListed && !ServerCheck(sURL, Check.uiPort).Keys.bListed))
        return {};
    return L": the server's name was changed, and zlt.ini lists keys. Make the unit ready again";
}

} // namespace

ServerCheck::ServerCheck(const std::wstring& sURL, std::uint32_t uiOptionPort)
    : uiPort(uiOptionPort), sServer(ServerIn(sURL)),
      Keys(quorvel::ReadKeys(quorvel::UrlPart(sURL, CURLUPART_HOST),
                             uiPort != 0 && uiPort <= LAST_PORT
                                 ? std::to_string(uiPort)
                                 : quorvel::UrlPart(sURL, CURLUPART_PORT, CURLU_DEFAULT_PORT)))
{
}

CURLcode SetServerCheck(CURL* pCurl, ServerCheck& Check)
{
    CURLcode enCurlRc = CURLE_OK;
    const auto Set = [&](CURLoption enOption, auto value) {
        if (enCurlRc == CURLE_OK)
            enCurlRc = curl_easy_setopt(pCurl, enOption, value);
    };
    Set(CURLOPT_PRIVATE, &Check);
    if (!Check.Keys.bListed)
        return enCurlRc;
    Set(CURLOPT_USE_SSL, long{CURLUSESSL_ALL});
    Set(CURLOPT_SSL_CTX_FUNCTION, &PrepareTls);
    Set(CURLOPT_SSL_CTX_DATA, &Check);
    Set(CURLOPT_SSH_HOSTKEYFUNCTION, &CheckHostKey);
    Set(CURLOPT_SSH_HOSTKEYDATA, &Check);
    return enCurlRc;
}

CURLcode PerformChecked(CURL* pCurl)
{
    if (ServerCheck* const pCheck = CheckOf(pCurl); pCheck != nullptr)
        if (pCheck->sRefusal = Objection(pCurl, *pCheck); !pCheck->sRefusal.empty())
            return CURLE_PEER_FAILED_VERIFICATION;
    return curl_easy_perform(pCurl);
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
