#include "host/Device.h"

#include "host/Utf8.h"
#include "host/VersionTime.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

std::string StatusText(ZDV_STATUS uiStatus)
{
    struct Meaning
    {
        ZDV_STATUS uiStatus;
        const char* pText;
    };
    static constexpr Meaning MEANINGS[] = {
        {ZDV_INVALID_HANDLE, "the handle is not valid"},
        {ZDV_FUNCTION_NOT_SUPPORTED, "the module does not support this"},
        {ZDV_INTERNAL_ERROR, "the position does not follow the recorded objects"},
        {ZDV_DEVICE_ERROR, "the module gives no reason"},
        {ZDV_OPEN_FAILED, "the device could not be created"},
        {ZDV_WRITE_PROTECTED, "writing is not allowed here"},
    };
    for (const Meaning& Known : MEANINGS)
        if (Known.uiStatus == uiStatus)
            return Known.pText;
    return "status " + std::to_string(uiStatus);
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
    return m_Module.GetProperty(m_Handle, ZDV_P_SPECIFIC_ERROR_CODE, &uiCode) == ZDV_SUCCESS ? uiCode : 0;
}

std::string Device::LastErrorText() const
{
    constexpr std::string_view PREFIX = "ERROR: ";
    std::array<wchar_t, 1024> aText{};
    if (m_Module.GetInfoW(m_Handle, ZDV_GI_SPECIFIC_ERROR_MSG, aText.data(),
                          static_cast<std::uint32_t>(aText.size())) != ZDV_SUCCESS)
        return {};
    const std::string sText = ToUtf8(aText.data());
    return sText.starts_with(PREFIX) ? sText.substr(PREFIX.size()) : sText;
}

void Device::Fail(ZDV_STATUS uiStatus, const char* pAction) const
{
    const std::uint32_t uiCode = LastErrorCode();
    const std::string sText = LastErrorText();
    std::string sReason = sText.empty() ? StatusText(uiStatus) : sText;
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

void Device::ChooseVersion(std::time_t tVersion)
{
    const std::wstring sTime = StandardTimeText(tVersion);
    Check(m_Module.SetInfoW(m_Handle, ZDV_BACKUP_VERSION, sTime.c_str(),
                            static_cast<std::uint32_t>(sTime.size())),
          "choosing a version");
}

void Device::Rewind() { Check(m_Module.Position(m_Handle, ZDV_SP_BOM, 0), "rewinding"); }

void Device::AskServerAgain()
{
    Check(m_Module.Position(m_Handle, ZDV_SP_RET, 0), "asking the server again");
}

// Spacing over no filemarks keeps the object number. It also drops a filemark that the module would report
// once more after a read that met the object's end.
void Device::LeaveObject() { Check(m_Module.Position(m_Handle, ZDV_SP_FFM, 0), "leaving an object"); }

void Device::Skip(std::uint32_t n)
{
    Check(m_Module.Position(m_Handle, ZDV_SP_FFM, static_cast<std::int32_t>(n)), "skipping objects");
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
    switch (uiStatus)
    {
    case ZDV_SUCCESS:
        return ReadResult::Filled;
    case ZDV_FILEMARK_REACHED:
        CheckTransfer("downloading");
        return ReadResult::Filemark;
    case ZDV_END_OF_MEDIA:
    case ZDV_BLANK_CHECK:
        return ReadResult::EndOfMedia;
    default:
        Fail(uiStatus, "downloading");
    }
}
