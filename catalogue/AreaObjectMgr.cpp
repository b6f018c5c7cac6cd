#include "catalogue/AreaObjectMgr.h"

#include "catalogue/Label.h"
#include "catalogue/Listing.h"
#include "catalogue/ManagerCall.h"
#include "device/CurlCallback.h"

#include <algorithm>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

// One for the whole process, as for versions, and separate from theirs.
ListingLine g_Line;

void TakeObject(const FunctionTrace& Trace, std::wstring& sLine, void* pObjects)
{
    Trace.Text(Level::Information, L"sLabel", sLine);
    // A foreign name is not cleared. The lines after it are added to it and so not recognised, in this listing and all
    // later ones, until the module is loaded again: fixed by the interface.
    if (!sLine.starts_with(LABEL_PREFIX))
        return;
    std::int64_t tDate = 0;
    std::uint32_t uiObjectId = 0;
    if (AreaObject::ConvertLabelToDateAndId(sLine, tDate, uiObjectId))
        static_cast<std::vector<AreaObject>*>(pObjects)->emplace_back(tDate, uiObjectId);
    sLine.clear();
}

void RequestObjects(CurlCalls& Calls, const std::wstring& sPattern, std::vector<AreaObject>& aObjects)
{
    Calls.SetUrl(sPattern, L"sPattern", L"Couldn't set URL");
    // The listing of versions has switched this on. Here it would make a deleted version again, as an empty one.
    Calls.Set(CURLOPT_FTP_CREATE_MISSING_DIRS, long{CURLFTP_CREATE_DIR_NONE},
              L"Couldn't unset FTP create missing dirs");
    Calls.Set(CURLOPT_DIRLISTONLY, 1L, L"Couldn't set directory list only option");
    Calls.Set(CURLOPT_WRITEFUNCTION, &AreaObjectMgr::WriteFunction, L"Couldn't set write function");
    Calls.Set(CURLOPT_WRITEDATA, &aObjects, L"Couldn't set write function");
    Calls.Call(PerformListing, L"Couldn't perform operation");
    Calls.Set(CURLOPT_WRITEFUNCTION, nullptr, L"Couldn't unset write function");
}

} // namespace

std::size_t AreaObjectMgr::WriteFunction(char* pData, std::size_t uiSize, std::size_t uiCount,
                                         void* pUserData)
{
    return ReceiveListing(L"AreaObjectMgr::WriteFunction", g_Line, {pData, uiSize * uiCount}, pUserData,
                          ABORT_TRANSFER, TakeObject);
}

bool AreaObjectMgr::GetAreaObjectList(const std::wstring& sRootURL, const std::wstring& sVersionLabel,
                                      std::vector<AreaObject>& aObjects)
{
    ManagerCall Call(*this, L"AreaObjectMgr::GetAreaObjectList", m_pCurl);
    Call.Trace.Location(L"sRootURL", sRootURL);
    Call.Trace.Text(L"sVersionLabel", sVersionLabel);
    if (sRootURL.empty())
        return Call.Refuse(L"Empty URL", L"... ending(Empty URL supplied)");
    // Log text fixed: it names the root although the label is tested.
    if (sVersionLabel.empty())
        return Call.Refuse(L"Empty Version Label", L"... ending(Empty root supplied)");
    if (!Call.HasHandle())
        return false;
    ListingAttempt Current(g_Line);
    RequestObjects(Call.Calls, sRootURL + L"/" + sVersionLabel + L"/", aObjects);
    if (Call.Calls.Succeeded())
    {
        Current.Complete();
        std::sort(aObjects.begin(), aObjects.end());
    }
    return Call.Finish();
}
