// What the two directory listings share: one name per line, in pieces as libcurl delivers them.
#pragma once

#include "common/FunctionTrace.h"
#include "common/Rollback.h"

#include <curl/curl.h>
#include <string>
#include <string_view>

// The text that is read but not taken yet. It lives as long as the process: what a listing leaves in it (a line
// without a line feed, or a foreign name) is put before the first line of the next listing.
struct ListingLine
{
    std::wstring sText;
    std::size_t uiStart = 0; // of the line being read; earlier lines have left what is before it
};

// One attempt to list a directory. If it fails, the line is put back as it was.
class ListingAttempt
{
public:
    explicit ListingAttempt(ListingLine& Line) : m_Line(Line) { Line.uiStart = Line.sText.size(); }
    void Complete() { m_Line.Complete(); }

private:
    quorvel::Rollback<ListingLine> m_Line;
};

// Adds what the line names to the list, if it is one of ours, and clears the line unless it is to be kept.
using TakeLine = void(const quorvel::FunctionTrace& Trace, std::wstring& sLine, void* pList);

// The body of a libcurl callback that receives a piece of a listing. Calls takeLine at each line feed. uiNoList is the
// answer when pList is null.
std::size_t ReceiveListing(const wchar_t* sFunction, ListingLine& Line, std::string_view sPiece, void* pList,
                           std::size_t uiNoList, TakeLine takeLine);

// Performs the request for a directory's listing. Old FTP servers refuse to list an empty directory, with 550
// and words such as "No files found.": that is a success. libcurl itself takes 450 for an empty listing.
CURLcode PerformListing(CURL* pCurl);

// Whether a server's refusal to list a directory that it has just entered means that the directory is empty.
bool MeansEmpty(std::string_view sReply);
