#include "catalogue/BackupQuery.h"

#include "catalogue/AreaObjectMgr.h"
#include "catalogue/ServerUrl.h"
#include "catalogue/VersionMgr.h"
#include "common/FunctionTrace.h"
#include "common/Url.h"
#include "interface/LastError.h"

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr std::int64_t NONE = 0;

void TraceLastError(const FtpContext& FC)
{
    FunctionTrace(L"ObjectQueryBackup : ... ending").Text(Level::Error, L"FC.m_sLastError", FC.m_sLastError);
}

bool SetRootUrl(const FtpContext& FC, const std::wstring& sURL)
{
    FunctionTrace(L"ObjectQueryBackup : curl_easy_setopt(CURLOPT_URL)").Location(L"sURL", sURL);
    const CURLcode res = curl_easy_setopt(FC.m_pCurl, CURLOPT_URL, quorvel::NarrowUrl(sURL).c_str());
    if (res == CURLE_OK)
        return true;
    FunctionTrace(L"ObjectQueryBackup : .... ending(Couldn't set URL)")
        .Number(Level::Error, L"res", static_cast<std::uint32_t>(res));
    return false;
}

bool ListVersions(FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL)
{
    VersionMgr Manager(FC.m_pCurl, FC.m_sProtocol);
    if (!Manager.GetVersionList(sURL, FC.m_VersionList))
    {
        FC.m_VersionList.clear(); // half a list is none
        TakeLastError(FC, Manager);
        Trace.Error(L"... ending(VersionMgr::GetVersionList failed)");
        return false;
    }
    Trace.Number(Level::Information, L"uiNumVersion", std::uint64_t{FC.m_VersionList.size()});
    for (const std::int64_t tVersion : FC.m_VersionList)
    {
        FC.m_tLatestVersion = tVersion;
        FC.m_CurrentVersion = Version(tVersion);
    }
    return true;
}

// Traces a date for people to read under sComposite, as sBackupTime; false for a date that has no text, with
// sReason stored and sFailure traced.
bool TraceDate(FtpContext& FC, const FunctionTrace& Trace, std::int64_t tDate, const wchar_t* sComposite,
               const wchar_t* sReason, const wchar_t* sFailure)
{
    std::wstring sBackupTime;
    if (!Version::ConvertDateToString(tDate, sBackupTime))
    {
        AssignLastError(FC, {ERROR_INVALID_PARAMETER, sReason});
        Trace.Error(sFailure);
        return false;
    }
    FunctionTrace(sComposite).Text(Level::Verbose, L"sBackupTime", sBackupTime);
    return true;
}

std::int64_t NewestUpTo(const std::vector<std::int64_t>& aVersions, std::int64_t tLimit)
{
    std::int64_t tCandidate = NONE;
    for (const std::int64_t tVersion : aVersions)
        if (tVersion <= tLimit && tVersion > tCandidate)
            tCandidate = tVersion;
    return tCandidate;
}

bool ChooseVersion(FtpContext& FC, const FunctionTrace& Trace, std::int64_t& tCandidate)
{
    Trace.Information(L"Finding latest or requested version");
    if (FC.m_tBackupTime <= 0)
    {
        tCandidate = FC.m_tLatestVersion;
        return TraceDate(FC, Trace, FC.m_tLatestVersion, L"ObjectQueryBackup : Looking for version dated",
                         L"Invalid latest backup date/time to use",
                         L"... ending(Invalid latest backup date/time to use)");
    }
    tCandidate = NewestUpTo(FC.m_VersionList, FC.m_tBackupTime);
    return TraceDate(FC, Trace, FC.m_tBackupTime,
                     L"ObjectQueryBackup : Looking for version dated no later than",
                     L"Invalid user selected backup date/time to use",
                     L"... ending(Invalid user selected backup date/time to use)");
}

bool LoadObjects(FtpContext& FC, const std::wstring& sURL)
{
    AreaObjectMgr Manager(FC.m_pCurl);
    if (Manager.GetAreaObjectList(sURL, FC.m_CurrentVersion.GetLabel(), FC.m_AreaObjectList))
        return true;
    // A host that wrote behind half of the objects would overwrite the other half.
    FC.m_AreaObjectList.clear();
    TakeLastError(FC, Manager);
    TraceLastError(FC);
    return false;
}

bool UseVersion(FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL, std::int64_t tCandidate)
{
    if (tCandidate == NONE)
    {
        AssignLastError(FC, {ERROR_BAD_ENVIRONMENT, L"No latest/requested Volume Header found"});
        TraceLastError(FC);
        return false;
    }
    if (!TraceDate(FC, Trace, tCandidate, L"ObjectQueryBackup : Using version dated",
                   L"Invalid backup date/time to use", L"... ending(Invalid backup date/time to use)"))
        return false;
    FC.m_CurrentVersion = Version(tCandidate);
    return LoadObjects(FC, sURL);
}

} // namespace

ZDV_STATUS ObjectQueryBackup(FtpContext& FC)
{
    const FunctionTrace Trace(L"ObjectQueryBackup");
    Trace.Verbose(L"starting...");
    FC.m_VersionList.clear();
    FC.m_AreaObjectList.clear();
    FC.m_tLatestVersion = NONE;

    const std::wstring sURL = RootUrl(FC);
    if (!SetRootUrl(FC, sURL) || !ListVersions(FC, Trace, sURL))
        return ZDV_DEVICE_ERROR;
    if (FC.m_tLatestVersion == NONE)
    {
        Trace.Verbose(L"... ending(No versions found)");
        return ZDV_SUCCESS;
    }
    std::int64_t tCandidate = NONE;
    if (!ChooseVersion(FC, Trace, tCandidate) || !UseVersion(FC, Trace, sURL, tCandidate))
        return ZDV_DEVICE_ERROR;
    Trace.Verbose(L"...ending");
    return ZDV_SUCCESS;
}
