#pragma once

#include "catalogue/Version.h"

#include <cstddef>
#include <cstdint>
#include <curl/curl.h>
#include <string>
#include <utility>
#include <vector>

// The backups under the root: lists them, and makes the directory of a new one. Made for one call, on the
// device's libcurl handle. A call that fails says why in the two error fields.
class VersionMgr
{
public:
    VersionMgr(CURL* pCurl, std::wstring sProtocol) : m_pCurl(pCurl), m_sProtocol(std::move(sProtocol)) {}

    // Appends the dates of the versions under the root, and sorts the list, oldest first. A root that does
    // not exist is created.
    bool GetVersionList(const std::wstring& sRootURL, std::vector<std::int64_t>& aVersions);
    bool CreateVersion(const std::wstring& sServer, const std::wstring& sRoot, const Version& version);

    // libcurl's write callback of the listing; pUserData is the list of dates.
    static std::size_t WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount, void* pUserData);

    std::uint32_t m_dwLastError = 0; // a Windows error number or a libcurl result code
    std::wstring m_sLastError;

private:
    CURL* m_pCurl;
    std::wstring m_sProtocol;
};
