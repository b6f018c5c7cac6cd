// ZDV_Utility.
#include "interface/Category.h"
#include "interface/Connection.h"
#include "interface/Export.h"
#include "stream/ResetMedia.h"

using quorvel::FunctionTrace;

namespace {

// Categories 2 to 4 are refused without a line that says so: log text fixed.
constexpr std::uint32_t FIRST_UNKNOWN_CATEGORY = 5;

ZDV_STATUS MakeUnitReady(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"Make Unit Ready");
    if (!DoInitEx(FC))
    {
        Trace.Error(L"DoInitEx failed");
        return ZDV_DEVICE_ERROR;
    }
    Trace.Verbose(L"ResetMedia");
    return ResetMedia(FC);
}

ZDV_STATUS Utility(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiCategory)
{
    if (uiCategory == ZDV_U_MAKE_UNIT_READY)
        return MakeUnitReady(FC, Trace);
    if (uiCategory == ZDV_U_CHECK_DEVICE_STATUS)
    {
        Trace.Information(L"Check device status");
        return ZDV_SUCCESS;
    }
    if (uiCategory < FIRST_UNKNOWN_CATEGORY)
        return ZDV_FUNCTION_NOT_SUPPORTED;
    Trace.Warning(L"... ending(InvalidCategory)");
    return InvalidCategory(Trace, uiCategory);
}

} // namespace

ZDV_STATUS ZDV_Utility(ZDV_HANDLE handle, std::uint32_t uiCategory)
{
    return WithDevice(handle, {L"ZDV_Utility"}, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiCategory", uiCategory);
        return Utility(FC, Trace, uiCategory);
    });
}
