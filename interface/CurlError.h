#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <string>

// Appends " [libcurl's own text for enCurlRc]" to sError.
void CurlError(CURLcode enCurlRc, std::wstring& sError);

// True when a libcurl call succeeded. Otherwise sets the two last-error fields of whoever made the call: its
// code, and sFailure with libcurl's text added.
bool CurlSucceeded(CURLcode enCurlRc, const wchar_t* sFailure, std::uint32_t& dwLastError,
                   std::wstring& sLastError);
