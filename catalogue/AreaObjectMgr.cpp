#include "catalogue/AreaObjectMgr.h"

#include "catalogue/Label.h"
#include "catalogue/Listing.h"
#include "common/Text.h"
#include "common/Url.h"
#include "interface/CurlError.h"

#include <algorithm>
#include <windows.h>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

void TakeObject(std::wstring& sLine, std::vector<AreaObject>& aObjects)
{
    FunctionTrace(L"AreaObjectMgr::WriteFunction").Text(Level::Information, L"sLabel", sLine);
    // A foreign name is kept, so what follows it in the directory is not recognised either: a version's
    // directory that somebody else writes into is not trusted from there on.
    if (!sLine.starts_with(LABEL_PREFIX))
        return;
    std::int64_t tDate = 0;
    std::uint32_t uiObjectId = 0;
    if (AreaObject::ConvertLabelToDateAndId(sLine, tDate, uiObjectId))
        aObjects.emplace_back(tDate, uiObjectId);
    sLine.clear();
}

} // namespace

std::size_t AreaObjectMgr::WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount,
                                         void* pUserData)
{
    if (pUserData == nullptr)
    {
        FunctionTrace(L"AreaObjectMgr::WriteFunction").Error(L"... ending(Invalid user data)");
        return static_cast<std::size_t>(-1);
    }
    // One line for the whole process, as for versions, but a line of its own.
    static std::wstring sLine;
    auto& aObjects = *static_cast<std::vector<AreaObject>*>(pUserData);
    FeedListing(sLine, std::string_view(pData, uiSize * uiCount),
                [&](std::wstring& sComplete) { TakeObject(sComplete, aObjects); });
    return uiSize * uiCount;
}

bool AreaObjectMgr::Refuse(const wchar_t* sError, const wchar_t* sEnding)
{
    m_dwLastError = ERROR_INVALID_PARAMETER;
    m_sLastError = sError;
    FunctionTrace(L"AreaObjectMgr::GetAreaObjectList").Error(sEnding);
    return false;
}

bool AreaObjectMgr::Did(CURLcode enCurlRc, const wchar_t* sFailure)
{
    return CurlSucceeded(enCurlRc, sFailure, m_dwLastError, m_sLastError);
}

bool AreaObjectMgr::ListObjects(const std::wstring& sPattern, std::vector<AreaObject>& aObjects)
{
    FunctionTrace(L"AreaObjectMgr::GetAreaObjectList : curl_easy_setopt(CURLOPT_URL)")
        .Text(Level::Verbose, L"sPattern", quorvel::WithoutPassword(sPattern));
    return Did(curl_easy_setopt(m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sPattern).c_str()),
               L"Couldn't set URL") &&
           Did(curl_easy_setopt(m_pCurl, CURLOPT_DIRLISTONLY, 1L),
               L"Couldn't set directory list only option") &&
           Did(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, &AreaObjectMgr::WriteFunction),
               L"Couldn't set write function") &&
           Did(curl_easy_setopt(m_pCurl, CURLOPT_WRITEDATA, &aObjects), L"Couldn't set write function") &&
           Did(curl_easy_perform(m_pCurl), L"Couldn't perform operation") &&
           Did(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, nullptr), L"Couldn't unset write function");
}

bool AreaObjectMgr::GetAreaObjectList(const std::wstring& sRootURL, const std::wstring& sVersionLabel,
                                      std::vector<AreaObject>& aObjects)
{
    const FunctionTrace Trace(L"AreaObjectMgr::GetAreaObjectList");
    m_dwLastError = ERROR_SUCCESS;
    m_sLastError.clear();
    Trace.Starting();
    Trace.Text(Level::Verbose, L"sRootURL", quorvel::WithoutPassword(sRootURL));
    Trace.Text(Level::Verbose, L"sVersionLabel", sVersionLabel);
    if (sRootURL.empty())
        return Refuse(L"Empty URL", L"... ending(Empty URL supplied)");
    // The log names the root here too: whoever searches it for an empty argument looks for one text.
    if (sVersionLabel.empty())
        return Refuse(L"Empty Version Label", L"... ending(Empty root supplied)");
    if (m_pCurl == nullptr)
        return Refuse(L"NULL cURL handle", L"... ending(Supplied handle is null)");
    if (!ListObjects(sRootURL + L"/" + sVersionLabel + L"/", aObjects))
    {
        FunctionTrace(L"AreaObjectMgr::GetAreaObjectList : ... ending")
            .Text(Level::Error, L"m_sLastError", m_sLastError);
        return false;
    }
    std::sort(aObjects.begin(), aObjects.end());
    Trace.Ending();
    return true;
}
