#pragma once

#include <curl/curl.h>
#include <string>

// Appends " [libcurl's own text for enCurlRc]" to sError.
void CurlError(CURLcode enCurlRc, std::wstring& sError);
