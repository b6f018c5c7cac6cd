#include "host/Device.h"

#include "host/Utf8.h"
#include "host/VersionTime.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

std::string StatusText(ZDV_STATUS uiStatus)
{
    std::array<char, 40> aText{};
    std::snprintf(aText.data(), aText.size(), "the module answers 0x%08X", uiStatus);
    return aText.data();
}

struct FreeNodes
{
    void operator()(ZDV_LIST_NODE* pNode) const
    {
        while (pNode != nullptr)
            std::free(std::exchange(pNode, pNode->pNext));
    }
};

} // namespace

Device::Device(const Module& Functions) : m_Module(Functions)
{
    const ZDV_STATUS uiStatus = m_Module.Open(&m_Handle);
    if (uiStatus != ZDV_SUCCESS)
        throw DeviceError("opening the device: " + StatusText(uiStatus), 0);
}

Device::~Device() { m_Module.Close(m_Handle); }

std::uint32_t Device::LastErrorCode() const
{
    std::uint32_t uiCode = 0;
    m_Module.GetProperty(m_Handle, ZDV_P_SPECIFIC_ERROR_CODE, &uiCode);
    return uiCode;
}

void Device::Fail(ZDV_STATUS uiStatus, const char* pAction) const
{
    constexpr std::string_view PREFIX = "ERROR: ";
    std::array<wchar_t, 1024> aText{};
    m_Module.GetInfoW(m_Handle, ZDV_GI_SPECIFIC_ERROR_MSG, aText.data(), aText.size());
    std::string sReason = ToUtf8(aText.data());
    if (sReason.starts_with(PREFIX))
        sReason.erase(0, PREFIX.size());
    if (sReason.empty())
        sReason = StatusText(uiStatus);
    const std::uint32_t uiCode = LastErrorCode();
    if (uiCode != 0)
        sReason += " (code " + std::to_string(uiCode) + ")";
    throw DeviceError(std::string(pAction) + ": " + sReason, uiCode);
}

void Device::Check(ZDV_STATUS uiStatus, const char* pAction) const
{
    if (uiStatus != ZDV_SUCCESS)
        Fail(uiStatus, pAction);
}

// A filemark says that a transfer has ended, not that it has ended well.
void Device::CheckTransfer(const char* pAction) const
{
    if (LastErrorCode() != 0)
        Fail(ZDV_DEVICE_ERROR, pAction);
}

void Device::SetOption(std::int32_t iKey, const std::wstring& sValue)
{
    Check(m_Module.SetDeviceOptionsW(m_Handle, iKey, sValue.c_str()), "setting an option");
}

void Device::MakeReady()
{
    Check(m_Module.Utility(m_Handle, ZDV_U_MAKE_UNIT_READY), "making the unit ready");
}

std::vector<std::time_t> Device::Versions() const
{
    ZDV_LIST List{};
    List.uiSignature = ZDV_LIST_SIGNATURE;
    const ZDV_STATUS uiStatus = m_Module.GetList(m_Handle, ZDV_GL_VERSION_DATE, &List);
    const std::unique_ptr<ZDV_LIST_NODE, FreeNodes> Nodes(List.pFirst);
    Check(uiStatus, "listing the versions");
    std::vector<std::time_t> Dates;
    for (const ZDV_LIST_NODE* pNode = List.pFirst; pNode != nullptr; pNode = pNode->pNext)
        Dates.push_back(ToTime(pNode->Date));
    return Dates;
}

void Device::ChooseVersion(std::optional<std::time_t> tVersion)
{
    const std::wstring sTime = tVersion ? StandardTimeText(*tVersion) : L"none";
    Check(m_Module.SetInfoW(m_Handle, ZDV_BACKUP_VERSION, sTime.c_str(),
                            static_cast<std::uint32_t>(sTime.size())),
          "choosing a version");
}

void Device::Position(std::uint32_t uiMode, std::int32_t iCount, const char* pAction)
{
    m_bBegun = false;
    Check(m_Module.Position(m_Handle, uiMode, iCount), pAction);
}

void Device::BeginVersion()
{
    Check(m_Module.MediaAccess(m_Handle, ZDV_MA_E, 0), "beginning a version");
    m_uiObject = 0;
    m_bBegun = false;
}

// Spacing over no filemarks ends the object and stands behind it. It also drops a filemark that the module
// would report once more. Spacing back stands before a filemark: one forward again is behind it.
void Device::MoveBefore(std::uint32_t uiObject)
{
    if (!m_uiObject)
        Position(ZDV_SP_BOM, 0, "rewinding");
    const auto iDistance = static_cast<std::int32_t>(uiObject - 1 - m_uiObject.value_or(0));
    m_uiObject.reset();
    Position(ZDV_SP_FFM, 0, "leaving an object");
    if (iDistance < 0)
        Position(ZDV_SP_FFM, iDistance - 1, "spacing back");
    if (iDistance != 0)
        Position(ZDV_SP_FFM, std::max(iDistance, 1), "spacing forward");
    m_uiObject = uiObject - 1;
}

void Device::MoveBeforeLast()
{
    MoveToEnd();
    Position(ZDV_SP_FFM, -2, "spacing back");
    Position(ZDV_SP_FFM, 1, "spacing forward");
}

void Device::MoveToEnd()
{
    m_uiObject.reset();
    Position(ZDV_SP_EORM, 0, "moving to the end of the backup");
}

void Device::Write(std::span<const std::byte> Blocks)
{
    Check(m_Module.WriteData(m_Handle, static_cast<std::uint32_t>(Blocks.size()), Blocks.data()),
          "uploading");
}

void Device::WriteFilemark()
{
    Check(m_Module.MediaAccess(m_Handle, ZDV_MA_WFM, 1), "writing a filemark");
    CheckTransfer("completing the upload");
}

ReadResult Device::Read(std::span<std::byte> Blocks)
{
    const ZDV_STATUS uiStatus =
        m_Module.ReadData(m_Handle, static_cast<std::uint32_t>(Blocks.size()), Blocks.data());
    if (uiStatus == ZDV_END_OF_MEDIA || uiStatus == ZDV_BLANK_CHECK)
        return ReadResult::EndOfMedia;
    if (!std::exchange(m_bBegun, true) && m_uiObject)
        ++*m_uiObject;
    if (uiStatus == ZDV_FILEMARK_REACHED)
    {
        CheckTransfer("downloading");
        return ReadResult::Filemark;
    }
    Check(uiStatus, "downloading");
    return ReadResult::Filled;
}
