#pragma once

#include "common/KeyList.h"

#include <curl/curl.h>

class CurlCalls;

// The comparison of a server's key with those that are listed for it. libcurl verifies nothing else: whoever has a
// listed key is the server that was meant. It is made on each connection, before the user's name is sent. A TLS
// session that is resumed needs none: only who was compared when it began can resume it.
// It must live as long as the libcurl handle that it is set on, and belongs to the thread that uses the handle.
struct ServerCheck
{
    quorvel::ListedKeys Keys;
    std::string sRefused; // the key that the last transfer was refused for
};

// Makes a handle talk only to a server that passes, over FTP only with TLS.
void SetServerCheck(CurlCalls& Calls, ServerCheck& Check);

// What the handle's check, if it has one, says of a call that has just ended, when that failed. A refused server gets
// libcurl's one code for that: libcurl may have tried another data connection in vain, and say why that failed.
std::wstring TakeRefusal(CURL* pCurl, CURLcode& enCurlRc);
