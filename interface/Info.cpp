// ZDV_GetInfo[W] and ZDV_SetInfo[W].
#include "common/Text.h"
#include "interface/BackupTime.h"
#include "interface/DeviceDescription.h"
#include "interface/Entry.h"
#include "interface/InvalidCategory.h"
#include "interface/LastError.h"

#include <cstdlib>
#include <optional>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

std::optional<std::wstring> DeviceInfo(const FtpContext& FC, std::uint32_t uiCategory,
                                       const wchar_t* sDeviceClass)
{
    switch (uiCategory)
    {
    case ZDV_GI_E:
        return L"";
    case ZDV_GI_DD:
        return DEVICE_DESCRIPTION;
    case ZDV_GI_DC:
        return sDeviceClass;
    case ZDV_GI_SPECIFIC_ERROR_MSG:
        return L"ERROR: " + LastErrorText(FC);
    default:
        return std::nullopt;
    }
}

struct InfoNames
{
    const wchar_t* sName;
    const char* sNarrowName;
    const wchar_t* sEnding;
    const wchar_t* sDeviceClass;
};

// The device class differs between the two functions, and hosts show either.
constexpr InfoNames GET_INFO = {L"ZDV_GetInfo", "ZDV_GetInfo", L"ZDV_GetInfo : ... ending",
                                DEVICE_DESCRIPTION};
constexpr InfoNames GET_INFO_WIDE = {L"ZDV_GetInfoW", "ZDV_GetInfoW", L"ZDV_GetInfoW : ... ending",
                                     L"FTP Virtual Tape"};

template <typename Char>
ZDV_STATUS GetInfo(const InfoNames& Names, ZDV_HANDLE handle, std::uint32_t uiCategory, Char* pBuffer,
                   std::uint32_t uiSize)
{
    return WithDevice(handle, Names.sName, [&](const FtpContext& FC, const FunctionTrace& Trace) {
        TraceArguments(Trace, uiCategory, uiSize);
        const auto sInfo = DeviceInfo(FC, uiCategory, Names.sDeviceClass);
        if (!sInfo)
        {
            Trace.Warning(L"... ending(InvalidCategory)");
            return Ended(Names.sEnding, InvalidCategory(Names.sNarrowName, uiCategory));
        }
        quorvel::CopyTruncated(*sInfo, pBuffer, uiSize);
        return Ended(Names.sEnding, ZDV_SUCCESS);
    });
}

// What the host hands over is read up to its terminating zero, and never beyond uiSize characters.
std::string GivenText(const char* pBuffer, std::uint32_t uiSize)
{
    return std::string(pBuffer, strnlen(pBuffer, uiSize));
}

std::string GivenText(const wchar_t* pBuffer, std::uint32_t uiSize)
{
    return quorvel::Narrow(std::wstring_view(pBuffer, wcsnlen(pBuffer, uiSize)));
}

// Capacity and occupancy are the host's bookkeeping of a real tape; a server has neither.
void TraceFact(const wchar_t* sFunction, const wchar_t* sVariable, const std::string& sText)
{
    FunctionTrace(sFunction).Number(Level::Verbose, sVariable,
                                    static_cast<std::uint64_t>(_atoi64(sText.c_str())));
}

void StoreFact(FtpContext& FC, std::uint32_t uiCategory, const std::string& sText)
{
    if (uiCategory == ZDV_CAPACITY)
        return TraceFact(L"ZDV_SetInfo : ZDV_CAPACITY", L"ullCapacity", sText);
    if (uiCategory == ZDV_OCCUPANCY)
        return TraceFact(L"ZDV_SetInfo : ZDV_OCCUPANCY", L"ullOccupancy", sText);
    FunctionTrace(L"ZDV_SetInfo : ZDV_BACKUP_VERSION").Text(Level::Verbose, L"Buffer", sText);
    FC.m_tBackupTime = ParseBackupTime(sText);
}

constexpr InfoNames SET_INFO = {L"ZDV_SetInfo", "ZDV_SetInfo", L"ZDV_SetInfo : ... ending", nullptr};
constexpr InfoNames SET_INFO_WIDE = {L"ZDV_SetInfoW", "ZDV_SetInfoW", L"ZDV_SetInfoW : ... ending", nullptr};

template <typename Char>
ZDV_STATUS SetInfo(const InfoNames& Names, ZDV_HANDLE handle, std::uint32_t uiCategory, const Char* pBuffer,
                   std::uint32_t uiSize)
{
    return WithDevice(handle, Names.sName, [&](FtpContext& FC, const FunctionTrace& Trace) {
        TraceArguments(Trace, uiCategory, uiSize);
        switch (uiCategory)
        {
        case 0:
        case 1:
        case 2:
        case 3:
            return Ended(Names.sEnding, ZDV_SUCCESS);
        case ZDV_BACKUP_VERSION:
        case ZDV_CAPACITY:
        case ZDV_OCCUPANCY:
            if (pBuffer != nullptr && uiSize != 0)
                StoreFact(FC, uiCategory, GivenText(pBuffer, uiSize));
            return Ended(Names.sEnding, ZDV_SUCCESS);
        default:
            Trace.Warning(L"... ending(InvalidCategory)");
            return Ended(Names.sEnding, InvalidCategory(Names.sNarrowName, uiCategory));
        }
    });
}

} // namespace

ZDV_STATUS ZDV_GetInfo(ZDV_HANDLE handle, std::uint32_t uiCategory, char* pBuffer, std::uint32_t uiSize)
{
    return GetInfo(GET_INFO, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_GetInfoW(ZDV_HANDLE handle, std::uint32_t uiCategory, wchar_t* pBuffer, std::uint32_t uiSize)
{
    return GetInfo(GET_INFO_WIDE, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_SetInfo(ZDV_HANDLE handle, std::uint32_t uiCategory, const char* pBuffer, std::uint32_t uiSize)
{
    return SetInfo(SET_INFO, handle, uiCategory, pBuffer, uiSize);
}

ZDV_STATUS ZDV_SetInfoW(ZDV_HANDLE handle, std::uint32_t uiCategory, const wchar_t* pBuffer,
                        std::uint32_t uiSize)
{
    return SetInfo(SET_INFO_WIDE, handle, uiCategory, pBuffer, uiSize);
}
