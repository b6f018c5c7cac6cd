#include "catalogue/AreaObjectMgr.h"

#include "catalogue/Label.h"
#include "common/Url.h"
#include "interface/CurlCallback.h"
#include "interface/CurlError.h"

#include <algorithm>
#include <windows.h>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

void TakeObject(std::wstring& sLine, std::vector<AreaObject>& aObjects)
{
    FunctionTrace(L"AreaObjectMgr::WriteFunction").Text(Level::Information, L"sLabel", sLine);
    // A foreign name is kept, so nothing that follows it is recognised, in this directory and any later one
    // until the module is loaded anew: a catalogue that somebody else writes into is not trusted.
    if (!sLine.starts_with(LABEL_PREFIX))
        return;
    std::int64_t tDate = 0;
    std::uint32_t uiObjectId = 0;
    if (AreaObject::ConvertLabelToDateAndId(sLine, tDate, uiObjectId))
        aObjects.emplace_back(tDate, uiObjectId);
    sLine.clear();
}

} // namespace

// One line for the whole process, as for versions, but a line of its own.
ListingLine& AreaObjectMgr::Line()
{
    static ListingLine Unfinished;
    return Unfinished;
}

std::size_t AreaObjectMgr::WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount,
                                         void* pUserData)
{
    return GuardedCallback(L"AreaObjectMgr::WriteFunction", [&](const FunctionTrace& Trace) -> std::size_t {
        Trace.Starting();
        if (pUserData == nullptr)
        {
            Trace.Error(L"... ending(Invalid user data)");
            return ABORT_TRANSFER;
        }
        auto& aObjects = *static_cast<std::vector<AreaObject>*>(pUserData);
        FeedListing(Line(), std::string_view(pData, uiSize * uiCount),
                    [&](std::wstring& sComplete) { TakeObject(sComplete, aObjects); });
        Trace.Ending();
        return uiSize * uiCount;
    });
}

bool AreaObjectMgr::Succeeded(CURLcode enCurlRc, const wchar_t* sFailure)
{
    return CurlSucceeded(enCurlRc, sFailure, m_dwLastError, m_sLastError);
}

bool AreaObjectMgr::ListObjects(const std::wstring& sPattern, std::vector<AreaObject>& aObjects)
{
    FunctionTrace(L"AreaObjectMgr::GetAreaObjectList : curl_easy_setopt(CURLOPT_URL)")
        .Location(L"sPattern", sPattern);
    // The listing of versions leaves libcurl creating directories; a version that is gone must not come back
    // empty.
    return Succeeded(
               curl_easy_setopt(m_pCurl, CURLOPT_FTP_CREATE_MISSING_DIRS, long{CURLFTP_CREATE_DIR_NONE}),
               L"Couldn't unset FTP create missing dirs") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sPattern).c_str()),
                     L"Couldn't set URL") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_DIRLISTONLY, 1L),
                     L"Couldn't set directory list only option") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, &AreaObjectMgr::WriteFunction),
                     L"Couldn't set write function") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEDATA, &aObjects),
                     L"Couldn't set write function") &&
           Succeeded(PerformListing(m_pCurl), L"Couldn't perform operation") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, nullptr),
                     L"Couldn't unset write function");
}

bool AreaObjectMgr::GetAreaObjectList(const std::wstring& sRootURL, const std::wstring& sVersionLabel,
                                      std::vector<AreaObject>& aObjects)
{
    const FunctionTrace Trace(L"AreaObjectMgr::GetAreaObjectList");
    m_dwLastError = ERROR_SUCCESS;
    m_sLastError.clear();
    Trace.Starting();
    Trace.Location(L"sRootURL", sRootURL);
    Trace.Text(Level::Verbose, L"sVersionLabel", sVersionLabel);
    if (sRootURL.empty())
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"Empty URL",
                              L"... ending(Empty URL supplied)");
    // The text names the root although the label is tested: it is what support tools look for in logs.
    if (sVersionLabel.empty())
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"Empty Version Label",
                              L"... ending(Empty root supplied)");
    if (m_pCurl == nullptr)
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"NULL cURL handle",
                              L"... ending(Supplied handle is null)");
    Listing Current(Line());
    if (!ListObjects(sRootURL + L"/" + sVersionLabel + L"/", aObjects))
    {
        FunctionTrace(L"AreaObjectMgr::GetAreaObjectList : ... ending")
            .Text(Level::Error, L"m_sLastError", m_sLastError);
        return false;
    }
    Current.Complete();
    std::sort(aObjects.begin(), aObjects.end());
    Trace.Ending();
    return true;
}
