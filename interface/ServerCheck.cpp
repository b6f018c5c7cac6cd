#include "interface/ServerCheck.h"

#include "common/Text.h"
#include "device/CurlCallback.h"
#include "device/CurlCalls.h"

#include <algorithm>
#include <openssl/ssl.h>
#include <utility>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

using Sha256 = unsigned char[32];

bool IsListed(const FunctionTrace& Trace, ServerCheck& Check, const std::string& sShown)
{
    const bool bListed = std::ranges::find(Check.Keys.aKeys, sShown) != Check.Keys.aKeys.end();
    Trace.Text(bListed ? Level::Information : Level::Error, L"sShown", sShown);
    if (!bListed)
        Check.sRefused = sShown;
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

} // namespace

void SetServerCheck(CurlCalls& Calls, ServerCheck& Check)
{
    constexpr const wchar_t* FAILURE = L"Failed to set Server Keys";
    Calls.Set(CURLOPT_PRIVATE, &Check, FAILURE);
    Calls.Set(CURLOPT_USE_SSL, long{CURLUSESSL_ALL}, FAILURE);
    Calls.Set(CURLOPT_SSL_CTX_FUNCTION, &PrepareTls, FAILURE);
    Calls.Set(CURLOPT_SSL_CTX_DATA, &Check, FAILURE);
    Calls.Set(CURLOPT_SSH_HOSTKEYFUNCTION, &CheckHostKey, FAILURE);
    Calls.Set(CURLOPT_SSH_HOSTKEYDATA, &Check, FAILURE);
}

std::wstring TakeRefusal(CURL* pCurl, CURLcode& enCurlRc)
{
    ServerCheck* pCheck = nullptr;
    curl_easy_getinfo(pCurl, CURLINFO_PRIVATE, &pCheck);
    const std::string sRefused = pCheck != nullptr ? std::exchange(pCheck->sRefused, {}) : "";
    if (pCheck != nullptr && enCurlRc == CURLE_USE_SSL_FAILED)
        return L": zlt.ini asks for a key, and the server offers no TLS";
    if (enCurlRc == CURLE_OK || sRefused.empty())
        return {};
    enCurlRc = CURLE_PEER_FAILED_VERIFICATION;
    return L": the server shows " + quorvel::Widen(sRefused) + L", which zlt.ini does not list";
}
