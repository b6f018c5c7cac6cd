// What the two directory listings share: one name per line, in pieces as libcurl delivers them.
#pragma once

#include "common/FunctionTrace.h"

#include <cstdint>
#include <string>
#include <string_view>

// Feeds one piece of a listing. Bytes are gathered in sLine; at each line feed LineEnded(sLine) decides what
// becomes of it. "." and ".." are no names in the directory: every SFTP listing holds them, and so do those
// of some FTP servers (Pure-FTPd).
template <typename LineEnded>
void FeedListing(std::wstring& sLine, std::string_view sPiece, const LineEnded& lineEnded)
{
    for (const char c : sPiece)
    {
        if (c == '\r')
            continue;
        if (c != '\n')
            sLine += static_cast<wchar_t>(static_cast<signed char>(c)); // labels are plain ASCII
        else if (sLine == L"." || sLine == L"..")
            sLine.clear();
        else
            lineEnded(sLine);
    }
}

// Refuses an argument of a listing: sets the manager's error fields, traces sEnding. Always false.
inline bool RefuseArgument(std::uint32_t& dwLastError, std::wstring& sLastError,
                           const quorvel::FunctionTrace& Trace, const wchar_t* sError, const wchar_t* sEnding)
{
    dwLastError = ERROR_INVALID_PARAMETER;
    sLastError = sError;
    Trace.Error(sEnding);
    return false;
}
