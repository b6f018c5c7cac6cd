// What the two directory listings share: one name per line, in pieces as libcurl delivers them.
#pragma once

#include "common/FunctionTrace.h"

#include <cstdint>
#include <curl/curl.h>
#include <string>
#include <string_view>
#include <utility>

// What a listing is gathered in. It lives as long as the process: a line that a listing leaves unfinished, or
// that was not taken, goes before the first one of the next listing.
struct ListingLine
{
    std::wstring sText;
    std::size_t uiStart = 0; // of the line being read; what stands before it was kept
};

// One listing. If it fails, the line is put back as it was found.
class Listing
{
public:
    explicit Listing(ListingLine& Line) : m_Line(Line), m_Before(Line) { Line.uiStart = Line.sText.size(); }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;
    ~Listing()
    {
        if (!m_bComplete)
            m_Line = std::move(m_Before);
    }
    void Complete() { m_bComplete = true; }

private:
    ListingLine& m_Line;
    ListingLine m_Before;
    bool m_bComplete = false;
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

// Performs the request for a directory's listing. Old FTP servers refuse to list an empty directory, with 550
// and words such as "No files found.": that is a success. libcurl itself takes 450 for an empty listing.
CURLcode PerformListing(CURL* pCurl);

// Whether a server's refusal to list a directory that it has just entered means that nothing is in there.
bool MeansEmpty(std::string_view sReply);

// Refuses an argument of a listing: sets the manager's error fields, traces sEnding. Always false.
bool RefuseArgument(std::uint32_t& dwLastError, std::wstring& sLastError, const quorvel::FunctionTrace& Trace,
                    const wchar_t* sError, const wchar_t* sEnding);
