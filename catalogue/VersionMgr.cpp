#include "catalogue/VersionMgr.h"

#include "catalogue/Label.h"
#include "catalogue/Listing.h"
#include "catalogue/ManagerCall.h"
#include "catalogue/ServerUrl.h"
#include "catalogue/SftpDirectories.h"

#include <algorithm>
#include <optional>

using quorvel::FunctionTrace;

namespace {

// One line for the whole process, without a lock: the server is listed through one device at a time.
ListingLine g_Line;

void TakeVersion(const FunctionTrace& Trace, std::wstring& sLine, void* pVersions)
{
    std::int64_t tDate = 0;
    if (!sLine.starts_with(LABEL_PREFIX))
    {
        Trace.At(L"Skipping ...").Text(L"sLabel", sLine);
    }
    else if (Version::ConvertLabelToDate(sLine, tDate))
    {
        Trace.At(L"Adding ...").Text(L"sLabel", sLine);
        static_cast<std::vector<std::int64_t>*>(pVersions)->push_back(tDate);
    }
    sLine.clear();
}

// A new directory is made by listing it. What the server lists there is not needed.
std::size_t DiscardListing(char*, std::size_t uiSize, std::size_t uiCount, void*) noexcept
{
    return uiSize * uiCount;
}

void SetDirectory(CurlCalls& Calls, const std::wstring& sPattern)
{
    Calls.Set(CURLOPT_FTP_CREATE_MISSING_DIRS, long{CURLFTP_CREATE_DIR_RETRY},
              L"Couldn't set FTP create missing dirs");
    Calls.SetUrl(sPattern, L"sPattern", L"Couldn't set URL");
}

void PerformCreatingDirectories(CurlCalls& Calls, const std::wstring& sPattern)
{
    std::optional<SftpDirectories> Directories; // for this one request
    Calls.Call([&](CURL* pCurl) { return Directories.emplace(pCurl, sPattern).Result(); },
               L"Couldn't set FTP create missing dirs");
    Calls.Call(PerformListing, L"Couldn't perform operation");
}

void RequestVersions(CurlCalls& Calls, const std::wstring& sPattern, std::vector<std::int64_t>& aVersions)
{
    SetDirectory(Calls, sPattern);
    Calls.Set(CURLOPT_DIRLISTONLY, 1L, L"Couldn't set directory list only option");
    Calls.Set(CURLOPT_WRITEFUNCTION, &VersionMgr::WriteFunction, L"Couldn't set write function");
    Calls.Set(CURLOPT_WRITEDATA, &aVersions, L"Couldn't set write user data");
    PerformCreatingDirectories(Calls, sPattern);
    Calls.Set(CURLOPT_WRITEFUNCTION, nullptr, L"Couldn't unset write function");
}

void RequestDirectory(CurlCalls& Calls, const std::wstring& sPattern)
{
    SetDirectory(Calls, sPattern);
    Calls.Set(CURLOPT_WRITEFUNCTION, &DiscardListing, L"Couldn't set write function");
    PerformCreatingDirectories(Calls, sPattern);
}

} // namespace

std::size_t VersionMgr::WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount, void* pUserData)
{
    return ReceiveListing(L"VersionMgr::WriteFunction", g_Line, {pData, uiSize * uiCount}, pUserData, 0,
                          TakeVersion);
}

bool VersionMgr::GetVersionList(const std::wstring& sRootURL, std::vector<std::int64_t>& aVersions)
{
    ManagerCall Call(*this, L"VersionMgr::GetVersionList", m_pCurl);
    Call.Trace.Location(L"sRootURL", sRootURL);
    if (sRootURL.empty())
        return Call.Refuse(L"Empty URL", L"... ending(Empty URL supplied)");
    if (!Call.HasHandle())
        return false;
    ListingAttempt Current(g_Line);
    RequestVersions(Call.Calls, sRootURL + L"/", aVersions);
    if (Call.Calls.Succeeded())
    {
        Current.Complete();
        std::sort(aVersions.begin(), aVersions.end());
    }
    return Call.Finish();
}

bool VersionMgr::CreateVersion(const std::wstring& sServer, const std::wstring& sRoot, const Version& version)
{
    ManagerCall Call(*this, L"VersionMgr::CreateVersion", m_pCurl);
    Call.Trace.Location(L"sServer", sServer);
    Call.Trace.Location(L"sRoot", sRoot);
    if (sRoot.empty())
        return Call.Refuse(L"Empty root supplied", L"... ending(Empty root supplied)");
    if (!Call.HasHandle())
        return false;
    const std::wstring sLabel = version.GetLabel();
    RequestDirectory(Call.Calls, RootUrl(m_sProtocol, sServer, sRoot) + L"/" + sLabel + L"/");
    return Call.Finish();
}
