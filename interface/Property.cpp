// ZDV_GetProperty and ZDV_SetProperty.
#include "interface/Category.h"
#include "interface/Export.h"

using quorvel::FunctionTrace;

namespace {

struct DeviceProperty
{
    std::uint32_t uiCategory;
    const wchar_t* sName;
    std::uint32_t (*Value)(const FtpContext& FC);
};

template <std::uint32_t uiValue> std::uint32_t Fixed(const FtpContext&) { return uiValue; }
std::uint32_t CurrentBlock(const FtpContext& FC) { return FC.m_uiCurrentBlock; }
std::uint32_t ReserveBlocks(const FtpContext& FC) { return FC.m_uiReserveBlocks; }

constexpr DeviceProperty PROPERTIES[] = {
    {ZDV_P_BLOCKSIZE, L"ZDV_P_BLOCKSIZE", Fixed<ZDV_BLOCK_SIZE>},
    {ZDV_P_COMP, L"ZDV_P_COMP", Fixed<0>},
    {ZDV_P_PART, L"ZDV_P_PART", Fixed<1>},
    {ZDV_P_URUN, L"ZDV_P_URUN", Fixed<0>},
    {ZDV_P_WRPR, L"ZDV_P_WRPR", Fixed<0>},
    {ZDV_P_GOTO, L"ZDV_P_GOTO", Fixed<0>},
    {ZDV_P_ECC_FRAME, L"ZDV_P_ECC_FRAME", Fixed<ZDV_BLOCK_SIZE>},
    {ZDV_P_CHANGER_INFO, L"ZDV_P_CHANGER_INFO", Fixed<0>},
    {ZDV_P_SUPPORTS_INITIALISE, L"ZDV_P_SUPPORTS_INITIALISE", Fixed<0>},
    {ZDV_P_REMOVABLE, L"ZDV_P_REMOVABLE", Fixed<0>},
    {ZDV_P_GET_CUR_BLK_ADDR, L"ZDV_P_GET_CUR_BLK_ADDR", CurrentBlock},
    {ZDV_P_INITIAL_BLOCKSIZE, L"ZDV_P_INITIAL_BLOCKSIZE", Fixed<ZDV_BLOCK_SIZE>},
    {ZDV_P_SPECIFIC_ERROR_CODE, L"ZDV_P_SPECIFIC_ERROR_CODE", LastErrorCode},
    {ZDV_P_SUPPORTS_VERSIONING, L"ZDV_P_SUPPORTS_VERSIONING", Fixed<1>},
    {ZDV_P_RESERVE_BLOCKS, L"ZDV_P_RESERVE_BLOCKS", ReserveBlocks},
};

ZDV_STATUS ReadProperty(const FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiCategory,
                        std::uint32_t* puiParam)
{
    const DeviceProperty* const pProperty = FindCategory(PROPERTIES, uiCategory);
    if (pProperty == nullptr)
    {
        Trace.Verbose(L"InvalidCategory");
        return InvalidCategory(Trace, uiCategory);
    }
    Trace.Verbose(pProperty->sName);
    *puiParam = pProperty->Value(FC);
    return ZDV_SUCCESS;
}

ZDV_STATUS Refused(const FunctionTrace& Trace)
{
    Trace.Warning(L"ZDV_FUNCTION_NOT_SUPPORTED");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

// All refusals have the same status. Only the trace tells them apart.
ZDV_STATUS StoreProperty(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiCategory,
                         std::uint32_t uiParam)
{
    switch (uiCategory)
    {
    case ZDV_P_BLOCKSIZE:
        Trace.Verbose(L"ZDV_P_BLOCKSIZE");
        return ZDV_SUCCESS;
    case ZDV_P_PART:
        Trace.Verbose(L"ZDV_P_PART");
        return Refused(Trace);
    case ZDV_P_VT_ALLOW_CREATION:
        Trace.Verbose(L"ZDV_P_VT_ALLOW_CREATION");
        return InvalidCategory(Trace, uiCategory);
    case ZDV_P_UNSUPPORTED_SETTING_100:
    case ZDV_P_UNSUPPORTED_SETTING_101:
        return Refused(Trace);
    case ZDV_P_RESERVE_BLOCKS:
        Trace.Verbose(L"ZDV_P_RESERVE_BLOCKS");
        FC.m_uiReserveBlocks = uiParam;
        return ZDV_SUCCESS;
    case ZDV_P_BACKUP_TIME:
        // A version is dated by the moment its volume header is written, whatever the host says.
        Trace.Verbose(L"ZDV_P_BACKUP_TIME");
        return ZDV_SUCCESS;
    default:
        Trace.Verbose(L"InvalidCategory");
        return InvalidCategory(Trace, uiCategory);
    }
}

} // namespace

ZDV_STATUS ZDV_GetProperty(ZDV_HANDLE handle, std::uint32_t uiCategory, std::uint32_t* puiParam)
{
    return WithDevice(handle, {L"ZDV_GetProperty"}, [&](const FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiCategory", uiCategory);
        const ZDV_STATUS uiRc = ReadProperty(FC, Trace, uiCategory, puiParam);
        Trace.Number(L"(*puiParam)", *puiParam);
        return uiRc;
    });
}

ZDV_STATUS ZDV_SetProperty(ZDV_HANDLE handle, std::uint32_t uiCategory, std::uint32_t uiParam)
{
    return WithDevice(handle, {L"ZDV_SetProperty"}, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiCategory", uiCategory);
        return StoreProperty(FC, Trace, uiCategory, uiParam);
    });
}
