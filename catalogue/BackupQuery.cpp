#include "catalogue/BackupQuery.h"

#include "catalogue/AreaObjectMgr.h"
#include "catalogue/ServerUrl.h"
#include "catalogue/VersionMgr.h"
#include "common/Rollback.h"
#include "device/CurlCalls.h"

using quorvel::FunctionTrace;
using quorvel::Level;
using quorvel::Rollback;

namespace {

constexpr std::int64_t NONE = 0;

// Always false.
bool FailedWithLastError(const FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.At(quorvel::ENDING).Text(Level::Error, L"FC.m_sLastError", FC.m_sLastError);
    return false;
}

bool SetRootUrl(const FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL)
{
    CurlCalls Calls(FC.m_pCurl, Trace);
    Calls.SetUrl(sURL, L"sURL", L"Couldn't set URL");
    if (!Calls.Succeeded())
        Trace.At(L".... ending(Couldn't set URL)").Number(Level::Error, L"res", Calls.Result());
    return Calls.Succeeded();
}

bool QueryVersions(FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL)
{
    Rollback HalfList(FC.m_VersionList);
    VersionMgr Manager(FC.m_pCurl, FC.m_sProtocol);
    if (!Manager.GetVersionList(sURL, FC.m_VersionList))
    {
        StoreFailure(FC, StoredFailure(Manager));
        return Trace.Failed(L"... ending(VersionMgr::GetVersionList failed)");
    }
    HalfList.Complete();
    Trace.Number(Level::Information, L"uiNumVersion", FC.m_VersionList.size());
    if (!FC.m_VersionList.empty())
    {
        FC.m_tLatestVersion = FC.m_VersionList.back();
        FC.m_CurrentVersion = Version(FC.m_tLatestVersion);
    }
    return true;
}

// Traces a date in readable form, at sPlace under the name sBackupTime. False if the date has no such form: then
// sReason is stored and sFailure traced.
bool TraceDate(FtpContext& FC, const FunctionTrace& Trace, std::int64_t tDate, const wchar_t* sPlace,
               const wchar_t* sReason, const wchar_t* sFailure)
{
    std::wstring sBackupTime;
    if (!Version::ConvertDateToString(tDate, sBackupTime))
    {
        StoreFailure(FC, {ERROR_INVALID_PARAMETER, sReason});
        return Trace.Failed(sFailure);
    }
    Trace.At(sPlace).Text(L"sBackupTime", sBackupTime);
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
        return TraceDate(FC, Trace, FC.m_tLatestVersion, L"Looking for version dated",
                         L"Invalid latest backup date/time to use",
                         L"... ending(Invalid latest backup date/time to use)");
    }
    tCandidate = NewestUpTo(FC.m_VersionList, FC.m_tBackupTime);
    return TraceDate(FC, Trace, FC.m_tBackupTime, L"Looking for version dated no later than",
                     L"Invalid user selected backup date/time to use",
                     L"... ending(Invalid user selected backup date/time to use)");
}

bool LoadObjects(FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL)
{
    // A host that wrote after half of the objects would overwrite the other half.
    Rollback HalfList(FC.m_AreaObjectList);
    AreaObjectMgr Manager(FC.m_pCurl);
    if (!Manager.GetAreaObjectList(sURL, FC.m_CurrentVersion.GetLabel(), FC.m_AreaObjectList))
    {
        StoreFailure(FC, StoredFailure(Manager));
        return FailedWithLastError(FC, Trace);
    }
    HalfList.Complete();
    return true;
}

bool UseVersion(FtpContext& FC, const FunctionTrace& Trace, const std::wstring& sURL, std::int64_t tCandidate)
{
    if (tCandidate == NONE)
    {
        StoreFailure(FC, {ERROR_BAD_ENVIRONMENT, L"No latest/requested Volume Header found"});
        return FailedWithLastError(FC, Trace);
    }
    if (!TraceDate(FC, Trace, tCandidate, L"Using version dated", L"Invalid backup date/time to use",
                   L"... ending(Invalid backup date/time to use)"))
        return false;
    FC.m_CurrentVersion = Version(tCandidate);
    return LoadObjects(FC, Trace, sURL);
}

ZDV_STATUS Query(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"starting...");
    FC.m_VersionList.clear();
    FC.m_AreaObjectList.clear();
    FC.m_tLatestVersion = NONE;

    const std::wstring sURL = RootUrl(FC);
    if (!SetRootUrl(FC, Trace, sURL) || !QueryVersions(FC, Trace, sURL))
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

} // namespace

ZDV_STATUS ObjectQueryBackup(FtpContext& FC)
{
    const FunctionTrace Trace(L"ObjectQueryBackup");
    try
    {
        return Query(FC, Trace);
    }
    catch (...)
    {
        Trace.Exception();
        StoreFailure(FC, ExceptionFailure());
        return ZDV_DEVICE_ERROR;
    }
}
