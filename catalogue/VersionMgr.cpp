#include "catalogue/VersionMgr.h"

#include "catalogue/Label.h"
#include "catalogue/ServerUrl.h"
#include "catalogue/SftpDirectories.h"
#include "common/Url.h"
#include "interface/CurlCallback.h"
#include "interface/CurlError.h"

#include <algorithm>
#include <windows.h>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

void TakeVersion(std::wstring& sLine, std::vector<std::int64_t>& aVersions)
{
    std::int64_t tDate = 0;
    if (!sLine.starts_with(LABEL_PREFIX))
    {
        FunctionTrace(L"VersionMgr::WriteFunction : Skipping ...").Text(Level::Verbose, L"sLabel", sLine);
    }
    else if (Version::ConvertLabelToDate(sLine, tDate))
    {
        FunctionTrace(L"VersionMgr::WriteFunction : Adding ...").Text(Level::Verbose, L"sLabel", sLine);
        aVersions.push_back(tDate);
    }
    sLine.clear();
}

// Servers answer the request for a new directory with its listing, whatever it holds.
std::size_t DiscardListing(char*, std::size_t uiSize, std::size_t uiCount, void*) noexcept
{
    return uiSize * uiCount;
}

} // namespace

// One line for the whole process, without a lock: hosts list on one device at a time.
ListingLine& VersionMgr::Line()
{
    static ListingLine Unfinished;
    return Unfinished;
}

std::size_t VersionMgr::WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount, void* pUserData)
{
    return GuardedCallback(L"VersionMgr::WriteFunction", [&](const FunctionTrace& Trace) -> std::size_t {
        Trace.Starting();
        if (pUserData == nullptr)
        {
            Trace.Error(L"... ending(Invalid user data)");
            return 0;
        }
        auto& aVersions = *static_cast<std::vector<std::int64_t>*>(pUserData);
        FeedListing(Line(), std::string_view(pData, uiSize * uiCount),
                    [&](std::wstring& sComplete) { TakeVersion(sComplete, aVersions); });
        Trace.Ending();
        return uiSize * uiCount;
    });
}

bool VersionMgr::Succeeded(CURLcode enCurlRc, const wchar_t* sFailure)
{
    return CurlSucceeded(enCurlRc, sFailure, m_dwLastError, m_sLastError);
}

bool VersionMgr::SetDirectoryURL(const wchar_t* sTrace, const std::wstring& sPattern)
{
    if (!Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_FTP_CREATE_MISSING_DIRS, long{CURLFTP_CREATE_DIR_RETRY}),
                   L"Couldn't set FTP create missing dirs"))
        return false;
    FunctionTrace(sTrace).Location(L"sPattern", sPattern);
    return Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sPattern).c_str()),
                     L"Couldn't set URL");
}

bool VersionMgr::PerformCreatingDirectories(const std::wstring& sPattern)
{
    const SftpDirectories Directories(m_pCurl, sPattern);
    return Succeeded(Directories.Result(), L"Couldn't set FTP create missing dirs") &&
           Succeeded(PerformListing(m_pCurl), L"Couldn't perform operation");
}

bool VersionMgr::ListVersions(const std::wstring& sPattern, std::vector<std::int64_t>& aVersions)
{
    return SetDirectoryURL(L"VersionMgr::GetVersionList : curl_easy_setopt(CURLOPT_URL)", sPattern) &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_DIRLISTONLY, 1L),
                     L"Couldn't set directory list only option") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, &VersionMgr::WriteFunction),
                     L"Couldn't set write function") &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEDATA, &aVersions),
                     L"Couldn't set write user data") &&
           PerformCreatingDirectories(sPattern) &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, nullptr),
                     L"Couldn't unset write function");
}

bool VersionMgr::GetVersionList(const std::wstring& sRootURL, std::vector<std::int64_t>& aVersions)
{
    const FunctionTrace Trace(L"VersionMgr::GetVersionList");
    m_dwLastError = ERROR_SUCCESS;
    m_sLastError.clear();
    Trace.Starting();
    Trace.Location(L"sRootURL", sRootURL);
    if (sRootURL.empty())
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"Empty URL",
                              L"... ending(Empty URL supplied)");
    if (m_pCurl == nullptr)
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"NULL cURL handle",
                              L"... ending(Supplied handle is null)");
    Listing Current(Line());
    if (!ListVersions(sRootURL + L"/", aVersions))
    {
        FunctionTrace(L"VersionMgr::GetVersionList : ... ending")
            .Text(Level::Error, L"m_sLastError", m_sLastError);
        return false;
    }
    Current.Complete();
    std::sort(aVersions.begin(), aVersions.end());
    Trace.Ending();
    return true;
}

bool VersionMgr::RequestDirectory(const std::wstring& sPattern)
{
    return SetDirectoryURL(L"VersionMgr::CreateVersion : curl_easy_setopt(CURLOPT_URL)", sPattern) &&
           Succeeded(curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, &DiscardListing),
                     L"Couldn't set write function") &&
           PerformCreatingDirectories(sPattern);
}

bool VersionMgr::CreateVersion(const std::wstring& sServer, const std::wstring& sRoot, const Version& version)
{
    const FunctionTrace Trace(L"VersionMgr::CreateVersion");
    m_dwLastError = ERROR_SUCCESS;
    m_sLastError.clear();
    Trace.Starting();
    Trace.Location(L"sServer", sServer);
    Trace.Location(L"sRoot", sRoot);
    if (sRoot.empty())
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"Empty root supplied",
                              L"... ending(Empty root supplied)");
    if (m_pCurl == nullptr)
        return RefuseArgument(m_dwLastError, m_sLastError, Trace, L"NULL cURL handle",
                              L"... ending(Supplied handle is null)");
    const std::wstring sLabel = version.GetLabel();
    if (!RequestDirectory(RootUrl(m_sProtocol, sServer, sRoot) + L"/" + sLabel + L"/"))
    {
        FunctionTrace(L"VersionMgr::CreateVersion : ... ending")
            .Text(Level::Error, L"m_sLastError", m_sLastError);
        return false;
    }
    Trace.Ending();
    return true;
}
