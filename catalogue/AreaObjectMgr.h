#pragma once

#include "catalogue/AreaObject.h"

#include <cstddef>
#include <cstdint>
#include <curl/curl.h>
#include <string>
#include <vector>

// The objects of one backup. Made for one call, on the device's libcurl handle. A call that fails says why
// in the two error fields.
class AreaObjectMgr
{
public:
    explicit AreaObjectMgr(CURL* pCurl) : m_pCurl(pCurl) {}

    // Appends the objects in a version's directory, and sorts the list by number.
    bool GetAreaObjectList(const std::wstring& sRootURL, const std::wstring& sVersionLabel,
                           std::vector<AreaObject>& aObjects);

    // libcurl's write callback of the listing; pUserData is the list of objects.
    static std::size_t WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount, void* pUserData);

    std::uint32_t m_dwLastError = 0; // a Windows error number or a libcurl result code
    std::wstring m_sLastError;

private:
    CURL* m_pCurl;
};
