// What the two directory listings share: one name per line, in pieces as libcurl delivers them.
#pragma once

#include "common/Rollback.h"
#include "device/CurlCallback.h"

#include <curl/curl.h>
#include <string>
#include <string_view>
#include <vector>

// What a listing is gathered in. It lives as long as the process: a line that a listing leaves unfinished, or
// that was not taken, goes before the first one of the next listing.
struct ListingLine
{
    std::wstring sText;
    std::size_t uiStart = 0; // of the line being read; what comes before it was kept
};

// One try to list a directory. If it fails, the line is put back as it was found.
class ListingAttempt
{
public:
    explicit ListingAttempt(ListingLine& Line) : m_Line(Line) { Line.uiStart = Line.sText.size(); }
    void Complete() { m_Line.Complete(); }

private:
    quorvel::Rollback<ListingLine> m_Line;
};

// Feeds one piece of a listing. At each line feed lineEnded(Line.sText) decides what becomes of it. "." and
// ".." are no names in the directory: every SFTP listing holds them, and so do those of some FTP servers
// (Pure-FTPd).
template <typename LineEnded>
void FeedListing(ListingLine& Line, std::string_view sPiece, const LineEnded& lineEnded)
{
    for (const char c : sPiece)
    {
        if (c == '\r')
            continue;
        if (c != '\n')
        {
            Line.sText += static_cast<wchar_t>(static_cast<signed char>(c)); // labels are plain ASCII
            continue;
        }
        const std::wstring_view sRead = std::wstring_view(Line.sText).substr(Line.uiStart);
        if (sRead == L"." || sRead == L"..")
            Line.sText.resize(Line.uiStart);
        else
            lineEnded(Line.sText);
        Line.uiStart = Line.sText.size();
    }
}

// The body of a libcurl callback that receives a listing: takeLine decides what becomes of each line and of the
// list. uiNoList is the answer when there is no list.
template <typename Item>
std::size_t ReceiveListing(const wchar_t* sFunction, ListingLine& Line, std::string_view sPiece, void* pList,
                           std::size_t uiNoList,
                           void (*takeLine)(const quorvel::FunctionTrace& Trace, std::wstring& sLine,
                                            std::vector<Item>& aList))
{
    return GuardedCallback(sFunction, [&](const quorvel::FunctionTrace& Trace) {
        if (pList == nullptr)
        {
            Trace.Error(L"... ending(Invalid user data)");
            return uiNoList;
        }
        auto& aList = *static_cast<std::vector<Item>*>(pList);
        FeedListing(Line, sPiece, [&](std::wstring& sLine) { takeLine(Trace, sLine, aList); });
        Trace.Ending();
        return sPiece.size();
    });
}

// Performs the request for a directory's listing. Old FTP servers refuse to list an empty directory, with 550
// and words such as "No files found.": that is a success. libcurl itself takes 450 for an empty listing.
CURLcode PerformListing(CURL* pCurl);

// Whether a server's refusal to list a directory that it has just entered means that nothing is in there.
bool MeansEmpty(std::string_view sReply);
