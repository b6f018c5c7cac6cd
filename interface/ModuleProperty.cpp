// ZDV_GetModuleProperty and ZDV_GetModulePropertyW.
#include "common/Text.h"
#include "interface/DeviceDescription.h"
#include "interface/Entry.h"
#include "interface/InvalidCategory.h"

using quorvel::FunctionTrace;

namespace {

struct ModuleProperty
{
    std::uint32_t uiCategory;
    const wchar_t* sName;
    const wchar_t* sAnswer;
};

// The wide build date: the compiler's macro is narrow.
#define WIDE_TEXT(text) L##text
#define WIDE(text) WIDE_TEXT(text)

constexpr ModuleProperty PROPERTIES[] = {
    {ZDV_GMP_DESC, L"ZDV_GMP_DESC", DEVICE_DESCRIPTION},
    {ZDV_GMP_VER, L"ZDV_GMP_VER", L"V " MODULE_VERSION},
    {ZDV_GMP_CLASS, L"ZDV_GMP_CLASS", L"FTP Support Module"},
    {ZDV_GMP_DATE, L"ZDV_GMP_DATE", WIDE(__DATE__)},
    {ZDV_GMP_CHANGER_SUPPORT, L"ZDV_GMP_CHANGER_SUPPORT", L"0"},
    {ZDV_GMP_SM_CLASS, L"ZDV_GMP_SM_CLASS", L"10"},
    {ZDV_GMP_IS_ZDV_REMOTE, L"ZDV_GMP_IS_ZDV_REMOTE", L"0"},
    {ZDV_GMP_WCHAR, L"ZDV_GMP_WCHAR", L"1"},
};

// Hosts ask the narrow function whether there are wide ones; whoever calls the wide one knows already, and
// is told so by a refusal.
bool AnswersWideSupport(const char*) { return true; }
bool AnswersWideSupport(const wchar_t*) { return false; }

template <typename Char>
ZDV_STATUS Answer(const FunctionTrace& Trace, const char* sNarrowName, std::uint32_t uiCategory,
                  Char* pBuffer, std::uint32_t uiSize)
{
    for (const ModuleProperty& Property : PROPERTIES)
    {
        if (Property.uiCategory != uiCategory ||
            (uiCategory == ZDV_GMP_WCHAR && !AnswersWideSupport(pBuffer)))
            continue;
        Trace.Information(Property.sName);
        quorvel::CopyTruncated(Property.sAnswer, pBuffer, uiSize);
        return ZDV_SUCCESS;
    }
    return InvalidCategory(sNarrowName, uiCategory);
}

template <typename Char>
ZDV_STATUS GetModuleProperty(const wchar_t* sName, const char* sNarrowName, const wchar_t* sEnding,
                             std::uint32_t uiCategory, Char* pBuffer, std::uint32_t uiSize)
{
    return Guarded(sName, ZDV_DEVICE_ERROR, [&] {
        const FunctionTrace Trace(sName);
        TraceArguments(Trace, uiCategory, uiSize);
        return Ended(sEnding, Answer(Trace, sNarrowName, uiCategory, pBuffer, uiSize));
    });
}

} // namespace

ZDV_STATUS ZDV_GetModuleProperty(std::uint32_t uiCategory, char* pBuffer, std::uint32_t uiSize)
{
    return GetModuleProperty(L"ZDV_GetModuleProperty", "ZDV_GetModuleProperty",
                             L"ZDV_GetModuleProperty : ... ending", uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_GetModulePropertyW(std::uint32_t uiCategory, wchar_t* pBuffer, std::uint32_t uiSize)
{
    return GetModuleProperty(L"ZDV_GetModulePropertyW", "ZDV_GetModulePropertyW",
                             L"ZDV_GetModulePropertyW : ... ending", uiCategory, pBuffer, uiSize);
}
