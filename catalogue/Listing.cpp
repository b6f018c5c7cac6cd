#include "catalogue/Listing.h"

#include "device/CurlCallback.h"
#include "device/ServerCheck.h"

#include <algorithm>
#include <cctype>

namespace {

// Keeps the server's last line. It is the debug callback, because a download leaves its header callback on the handle.
int KeepReply(CURL*, curl_infotype enType, char* pData, std::size_t uiSize, void* pReply) noexcept
{
    if (enType != CURLINFO_HEADER_IN)
        return 0;
    try
    {
        static_cast<std::string*>(pReply)->assign(pData, uiSize);
    }
    catch (const std::bad_alloc&)
    {
        static_cast<std::string*>(pReply)->clear(); // a reply that cannot be read stays a refusal
    }
    return 0;
}

// Adds a character to the line. True when it has ended a name. "." and ".." are no names in the directory: every SFTP
// listing holds them, and so do those of some FTP servers (Pure-FTPd).
bool EndsName(ListingLine& Line, char c)
{
    if (c != '\r' && c != '\n')
        Line.sText += static_cast<wchar_t>(static_cast<signed char>(c)); // labels are plain ASCII
    if (c != '\n')
        return false;
    const std::wstring_view sRead = std::wstring_view(Line.sText).substr(Line.uiStart);
    if (sRead != L"." && sRead != L"..")
        return true;
    Line.sText.resize(Line.uiStart);
    return false;
}

} // namespace

std::size_t ReceiveListing(const wchar_t* sFunction, ListingLine& Line, std::string_view sPiece, void* pList,
                           std::size_t uiNoList, TakeLine takeLine)
{
    return GuardedCallback(sFunction, [&](const quorvel::FunctionTrace& Trace) {
        if (pList == nullptr)
        {
            Trace.Error(L"... ending(Invalid user data)");
            return uiNoList;
        }
        for (const char c : sPiece)
        {
            if (!EndsName(Line, c))
                continue;
            takeLine(Trace, Line.sText, pList);
            Line.uiStart = Line.sText.size();
        }
        Trace.Ending();
        return sPiece.size();
    });
}

bool MeansEmpty(std::string_view sReply)
{
    // Only at the beginning: the rest may hold the name of a folder, which can be any words.
    static constexpr std::string_view PHRASES[] = {"550 no files", "550 empty directory",
                                                   "550 directory is empty", "550 directory empty"};
    std::string sWords(sReply);
    std::ranges::transform(sWords, sWords.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto Says = [&](const char* sWord) { return sWords.find(sWord) != std::string::npos; };
    return std::ranges::any_of(PHRASES, [&](std::string_view s) { return sWords.starts_with(s); }) &&
           !Says("permission") && !Says("denied");
}

CURLcode PerformListing(CURL* pCurl)
{
    // If libcurl refuses these, this stays empty, and a refusal is not taken for an empty directory.
    std::string sReply;
    curl_easy_setopt(pCurl, CURLOPT_DEBUGFUNCTION, &KeepReply);
    curl_easy_setopt(pCurl, CURLOPT_DEBUGDATA, &sReply);
    curl_easy_setopt(pCurl, CURLOPT_VERBOSE, 1L);
    const CURLcode enCurlRc = PerformChecked(pCurl);
    curl_easy_setopt(pCurl, CURLOPT_VERBOSE, 0L);
    curl_easy_setopt(pCurl, CURLOPT_DEBUGDATA, nullptr);
    return enCurlRc == CURLE_FTP_COULDNT_RETR_FILE && MeansEmpty(sReply) ? CURLE_OK : enCurlRc;
}
