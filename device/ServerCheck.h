#pragma once

#include "common/KeyList.h"

#include <cstdint>
#include <curl/curl.h>

// The comparison of a server's key with those that are listed for it. libcurl verifies nothing else: whoever has a
// listed key is the server that was meant. It is made on each connection, before the user's name is sent. A resumed TLS
// session is not compared again: only a server that passed when the session began can resume it. (After a change of the
// list, a host that names another server and then this one again may resume a session from before the change.)
// The object must live as long as the libcurl handle that it is set on, and belongs to the thread that uses the handle.
struct ServerCheck
{
    // Looks up the keys of a URL's server. uiOptionPort replaces the URL's port, unless libcurl refuses it.
    ServerCheck(const std::wstring& sURL, std::uint32_t uiOptionPort);

    std::uint32_t uiPort;
    std::string sServer; // with its port
    quorvel::ListedKeys Keys;
    std::wstring sRefusal; // why the last transfer was refused
};

// A listed server must pass, and over FTP must speak TLS. Any other server is used as it is, over FTP with TLS if it
// offers that.
CURLcode SetServerCheck(CURL* pCurl, ServerCheck& Check);

// Performs the transfer that is set on a handle, unless its list of keys cannot be understood. The list is read again
// if the transfer goes to another server than the last one.
CURLcode PerformChecked(CURL* pCurl);

// After a call of libcurl that failed: what the handle's check, if it has one, adds to the reason. If the server was
// refused, enCurlRc becomes libcurl's code for that: libcurl may have tried another data connection in vain, and give
// that one's code.
std::wstring TakeRefusal(CURL* pCurl, CURLcode& enCurlRc);
