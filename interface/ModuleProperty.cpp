// ZDV_GetModuleProperty and ZDV_GetModulePropertyW.
#include "common/Text.h"
#include "interface/Category.h"
#include "interface/DeviceDescription.h"
#include "interface/Export.h"
#include "interface/ModuleVersion.h"

using quorvel::FunctionTrace;

namespace {

struct ModuleProperty
{
    std::uint32_t uiCategory;
    const wchar_t* sName;
    const wchar_t* sAnswer;
};

// The wide version and build date, whose macros are narrow.
#define WIDE_TEXT(text) L##text
#define WIDE(text) WIDE_TEXT(text)

constexpr ModuleProperty PROPERTIES[] = {
    {ZDV_GMP_DESC, L"ZDV_GMP_DESC", DEVICE_DESCRIPTION},
    {ZDV_GMP_VER, L"ZDV_GMP_VER", L"V " WIDE(MODULE_VERSION)},
    {ZDV_GMP_CLASS, L"ZDV_GMP_CLASS", L"FTP Support Module"},
    {ZDV_GMP_DATE, L"ZDV_GMP_DATE", WIDE(__DATE__)},
    {ZDV_GMP_CHANGER_SUPPORT, L"ZDV_GMP_CHANGER_SUPPORT", L"0"},
    {ZDV_GMP_SM_CLASS, L"ZDV_GMP_SM_CLASS", L"10"},
    {ZDV_GMP_IS_ZDV_REMOTE, L"ZDV_GMP_IS_ZDV_REMOTE", L"0"},
    {ZDV_GMP_WCHAR, L"ZDV_GMP_WCHAR", L"1"},
};

// Only a caller of the narrow function has to ask whether there are wide ones: fixed by the interface.
bool AnswersWideSupport(const char*) { return true; }
bool AnswersWideSupport(const wchar_t*) { return false; }

template <typename Char>
ZDV_STATUS GetModuleProperty(const wchar_t* sName, std::uint32_t uiCategory, Char* pBuffer,
                             std::uint32_t uiSize)
{
    return Guarded(sName, ZDV_DEVICE_ERROR, [&](const FunctionTrace& Trace) {
        Trace.Starting();
        TraceArguments(Trace, uiCategory, uiSize);
        const ModuleProperty* const pProperty = FindCategory(PROPERTIES, uiCategory);
        if (pProperty == nullptr || (uiCategory == ZDV_GMP_WCHAR && !AnswersWideSupport(pBuffer)))
            return Ended(Trace, InvalidCategory(Trace, uiCategory));
        Trace.Information(pProperty->sName);
        quorvel::CopyTruncated(pProperty->sAnswer, pBuffer, uiSize);
        return Ended(Trace, ZDV_SUCCESS);
    });
}

} // namespace

ZDV_STATUS ZDV_GetModuleProperty(std::uint32_t uiCategory, char* pBuffer, std::uint32_t uiSize)
{
    return GetModuleProperty(L"ZDV_GetModuleProperty", uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_GetModulePropertyW(std::uint32_t uiCategory, wchar_t* pBuffer, std::uint32_t uiSize)
{
    return GetModuleProperty(L"ZDV_GetModulePropertyW", uiCategory, pBuffer, uiSize);
}
