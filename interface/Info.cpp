// ZDV_GetInfo[W] and ZDV_SetInfo[W].
#include "common/Text.h"
#include "interface/BackupTime.h"
#include "interface/Category.h"
#include "interface/DeviceDescription.h"
#include "interface/Export.h"

#include <cstdlib>
#include <optional>

using quorvel::FunctionTrace;

namespace {

constexpr std::uint32_t LAST_IGNORED = 3; // a set of 0 to 3 does nothing

// Fixed by the interface: the device class differs between the two functions.
const wchar_t* DeviceClass(const char*) { return DEVICE_DESCRIPTION; }
const wchar_t* DeviceClass(const wchar_t*) { return L"FTP Virtual Tape"; }

std::optional<std::wstring> DeviceInfo(const FtpContext& FC, std::uint32_t uiCategory,
                                       const wchar_t* sDeviceClass)
{
    if (uiCategory == ZDV_GI_E)
        return L"";
    if (uiCategory == ZDV_GI_DD)
        return DEVICE_DESCRIPTION;
    if (uiCategory == ZDV_GI_DC)
        return sDeviceClass;
    if (uiCategory == ZDV_GI_SPECIFIC_ERROR_MSG)
        return L"ERROR: " + LastErrorText(FC);
    return std::nullopt;
}

template <typename Char>
ZDV_STATUS GetInfo(const Export& Names, ZDV_HANDLE handle, std::uint32_t uiCategory, Char* pBuffer,
                   std::uint32_t uiSize)
{
    return WithDevice(handle, Names, [&](const FtpContext& FC, const FunctionTrace& Trace) {
        TraceArguments(Trace, uiCategory, uiSize);
        const auto sInfo = DeviceInfo(FC, uiCategory, DeviceClass(pBuffer));
        if (!sInfo)
        {
            Trace.Warning(L"... ending(InvalidCategory)");
            return InvalidCategory(Trace, uiCategory);
        }
        quorvel::CopyTruncated(*sInfo, pBuffer, uiSize);
        return ZDV_SUCCESS;
    });
}

// The host's text: up to its terminating zero, but at most uiSize characters.
std::string GivenText(const char* pBuffer, std::uint32_t uiSize)
{
    return std::string(pBuffer, strnlen(pBuffer, uiSize));
}

std::string GivenText(const wchar_t* pBuffer, std::uint32_t uiSize)
{
    return quorvel::Narrow(std::wstring_view(pBuffer, wcsnlen(pBuffer, uiSize)));
}

void StoreFact(FtpContext& FC, std::uint32_t uiCategory, const std::string& sText)
{
    const FunctionTrace Trace(L"ZDV_SetInfo"); // log text fixed: the narrow name from both functions
    // Capacity and occupancy are the host's bookkeeping of a real tape; a server has neither.
    const auto ullNumber = static_cast<std::uint64_t>(_atoi64(sText.c_str()));
    if (uiCategory == ZDV_CAPACITY)
        return Trace.At(L"ZDV_CAPACITY").Number(L"ullCapacity", ullNumber);
    if (uiCategory == ZDV_OCCUPANCY)
        return Trace.At(L"ZDV_OCCUPANCY").Number(L"ullOccupancy", ullNumber);
    Trace.At(L"ZDV_BACKUP_VERSION").Text(L"Buffer", sText);
    FC.m_tBackupTime = ParseBackupTime(sText);
}

template <typename Char>
ZDV_STATUS SetInfo(const Export& Names, ZDV_HANDLE handle, std::uint32_t uiCategory, const Char* pBuffer,
                   std::uint32_t uiSize)
{
    return WithDevice(handle, Names, [&](FtpContext& FC, const FunctionTrace& Trace) {
        TraceArguments(Trace, uiCategory, uiSize);
        if (uiCategory <= LAST_IGNORED)
            return ZDV_SUCCESS;
        if (uiCategory != ZDV_BACKUP_VERSION && uiCategory != ZDV_CAPACITY && uiCategory != ZDV_OCCUPANCY)
        {
            Trace.Warning(L"... ending(InvalidCategory)");
            return InvalidCategory(Trace, uiCategory);
        }
        if (pBuffer != nullptr && uiSize != 0)
            StoreFact(FC, uiCategory, GivenText(pBuffer, uiSize));
        return ZDV_SUCCESS;
    });
}

} // namespace

ZDV_STATUS ZDV_GetInfo(ZDV_HANDLE handle, std::uint32_t uiCategory, char* pBuffer, std::uint32_t uiSize)
{
    return GetInfo({L"ZDV_GetInfo"}, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_GetInfoW(ZDV_HANDLE handle, std::uint32_t uiCategory, wchar_t* pBuffer, std::uint32_t uiSize)
{
    return GetInfo({L"ZDV_GetInfoW"}, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_SetInfo(ZDV_HANDLE handle, std::uint32_t uiCategory, const char* pBuffer, std::uint32_t uiSize)
{
    return SetInfo({L"ZDV_SetInfo"}, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_SetInfoW(ZDV_HANDLE handle, std::uint32_t uiCategory, const wchar_t* pBuffer,
                        std::uint32_t uiSize)
{
    return SetInfo({L"ZDV_SetInfoW"}, handle, uiCategory, pBuffer, uiSize);
}
