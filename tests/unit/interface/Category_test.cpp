// What becomes of the categories that do nothing, and the lines that say so.
#include "tests/unit/OpenDevice.h"
#include "tests/unit/TraceLog.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <tuple>

TEST(Category, ThatDoesNothingIsAnsweredAndTraced)
{
    const std::string sInvalid = "[W]: InvalidCategory : ... ending(ZDV_FUNCTION_NOT_SUPPORTED)";
    const auto Ended = [](const char* sExport, const char* sStatus, const char* sDots = "...") {
        return std::string("[V]: ") + sExport + " : " + sDots + " ending : uiRc = 0x" + sStatus;
    };
    // the call, whether the category is called invalid, the last line
    const std::tuple<ZDV_STATUS (*)(ZDV_HANDLE h), bool, std::string> CASES[] = {
        {[](ZDV_HANDLE h) { return ZDV_Utility(h, 4); }, false, Ended("ZDV_Utility", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_Utility(h, 5); }, true, Ended("ZDV_Utility", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_SetInfo(h, 4, "", 1); }, true, Ended("ZDV_SetInfo", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_SetProperty(h, 0, 1); }, false, Ended("ZDV_SetProperty", "0")},
        {[](ZDV_HANDLE h) { return ZDV_SetProperty(h, 2, 1); }, false, Ended("ZDV_SetProperty", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_SetProperty(h, 13, 1); }, true, Ended("ZDV_SetProperty", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_MediaAccess(h, 3, 1); }, true, Ended("ZDV_MediaAccess", "40000002")},
        {[](ZDV_HANDLE h) { return ZDV_Position(h, 4, 1); }, false, Ended("ZDV_Position", "40000002", "..")},
        {[](ZDV_HANDLE h) { return ZDV_Position(h, 9, 1); }, true, Ended("ZDV_Position", "40000002", "..")},
        {[](ZDV_HANDLE h) { return ZDV_GetList(h, 9, nullptr); }, true, sInvalid},
        {[](ZDV_HANDLE h) { return ZDV_GetDeviceOptions(h, 28, 0, nullptr, 9); }, true, sInvalid},
        {[](ZDV_HANDLE h) { return ZDV_GetDeviceOptions(h, 6, 1, nullptr, 9); }, false,
         Ended("ZDV_GetDeviceOptions", "40000004", "..")},
        {[](ZDV_HANDLE h) { return ZDV_SetDeviceOptions(h, 4, "x"); }, false,
         Ended("ZDV_SetDeviceOptions", "0")},
        {[](ZDV_HANDLE h) { return ZDV_SetDeviceOptionsW(h, 6, L"x"); }, true,
         Ended("ZDV_SetDeviceOptionsW", "40000002")},
    };
    const OpenDevice Device;
    for (const auto& [call, bInvalid, sLast] : CASES)
    {
        const TraceLog Log;
        const ZDV_STATUS uiRc = call(Device);
        const std::vector<std::string> aLines = Log.Lines();
        EXPECT_EQ(aLines.back(), sLast);
        EXPECT_EQ(std::ranges::count(aLines, sInvalid), bInvalid ? 1 : 0) << sLast;
        const ZDV_STATUS uiTraced = sLast == sInvalid
                                        ? ZDV_FUNCTION_NOT_SUPPORTED
                                        : std::stoul(sLast.substr(sLast.rfind('x') + 1), nullptr, 16);
        EXPECT_EQ(uiRc, uiTraced) << sLast;
    }
}
