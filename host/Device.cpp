#include "host/Device.h"

#include "host/Errors.h"
#include "host/LocalFile.h"
#include "host/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

// Each time the module is loaded it begins a log and deletes the last but one, unless they are open. While this program
// holds them open all its connections share one log, which still tells why an earlier one broke.
std::array<FileHandle, 2> HoldLogs(const std::wstring& sProgramFolder)
{
    std::wstring sLogs(MAX_LONG_PATH, L'\0');
    sLogs.resize(GetPrivateProfileStringW(
        L"File Locations", L"Logfiles", PathIn(sProgramFolder, L"Logfiles").c_str(), sLogs.data(),
        static_cast<DWORD>(sLogs.size()), PathIn(sProgramFolder, L"zlt.ini").c_str()));
    const auto Hold = [&](const wchar_t* pName, DWORD dwShare, DWORD dwDisposition) {
        const HANDLE hFile = CreateFileW(PathIn(sLogs, pName).c_str(), GENERIC_READ, dwShare, nullptr,
                                         dwDisposition, 0, nullptr);
        return FileHandle(hFile == INVALID_HANDLE_VALUE ? nullptr : hFile);
    };
    return {Hold(L"ZDV_FTP_trace.log", FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS),
            Hold(L"ZDV_FTP_trace.old", FILE_SHARE_READ, OPEN_EXISTING)};
}

Module Load()
{
    std::wstring sPath(MAX_LONG_PATH, L'\0');
    sPath.resize(GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size())));
    const std::wstring sFolder = sPath.substr(0, sPath.find_last_of(L'\\'));
    sPath = PathIn(sFolder, L"ZDV_FTP.DLL");
    const HMODULE hLibrary = LoadLibraryW(sPath.c_str());
    if (hLibrary == nullptr)
        throw FileError(sPath, "cannot be loaded (it belongs beside zdv.exe)", GetLastError());
    static const std::array<FileHandle, 2> HELD = HoldLogs(sFolder); // from the first load on
    return Module(hLibrary);
}

std::time_t ToTime(const ZDV_VERSION_DATE& Date)
{
    std::tm Time{.tm_sec = Date.iSec,
                 .tm_min = Date.iMin,
                 .tm_hour = Date.iHour,
                 .tm_mday = Date.iMday,
                 .tm_mon = Date.iMon,
                 .tm_year = Date.iYear,
                 .tm_wday = 0,
                 .tm_yday = 0,
                 .tm_isdst = Date.iIsdst};
    return std::mktime(&Time);
}

} // namespace

Device::Device(Module Loaded) : m_Module(std::move(Loaded))
{
    Check(m_Module.Open(&m_Handle), "opening the device");
}

// Delegates so that whatever is thrown here runs the destructor, which closes the device before the module is unloaded.
Device::Device(const Server& Target, const std::wstring& sPassword, std::optional<std::time_t> tVersion)
    : Device(Phase(ExitCode::NoModule, "", Load))
{
    const std::wstring sTime = tVersion ? StandardTimeText(*tVersion) : L"none";
    const std::pair<std::int32_t, std::wstring> OPTIONS[] = {{ZDV_FTP_SERVERNAME, FromUtf8(Target.sName)},
                                                             {ZDV_FTP_PORT, std::to_wstring(Target.uiPort)},
                                                             {ZDV_FTP_ROOT, FromUtf8(Target.sRoot)},
                                                             {ZDV_FTP_USERNAME, FromUtf8(Target.sUser)},
                                                             {ZDV_FTP_PASSWORD, sPassword}};
    for (const auto& [iKey, sValue] : OPTIONS)
        Check(m_Module.SetDeviceOptions(m_Handle, iKey, sValue.c_str()), "setting an option");
    Check(m_Module.SetInfo(m_Handle, ZDV_BACKUP_VERSION, sTime.c_str(),
                           static_cast<std::uint32_t>(sTime.size())),
          "choosing a version");
    const ZDV_STATUS uiStatus = m_Module.Utility(m_Handle, ZDV_U_MAKE_UNIT_READY);
    // The number has two meanings: no version is old enough, or libcurl refuses an option. Versions are listed only in
    // the first case.
    if (LastErrorCode() != ERROR_BAD_ENVIRONMENT || Versions().empty())
        Check(uiStatus, "connecting and listing");
}

Device::~Device() { m_Module.Close(m_Handle); }

std::uint32_t Device::LastErrorCode() const
{
    std::uint32_t uiCode = 0;
    m_Module.GetProperty(m_Handle, ZDV_P_SPECIFIC_ERROR_CODE, &uiCode);
    return uiCode;
}

void Device::Check(ZDV_STATUS uiStatus, const char* pAction) const
{
    constexpr std::string_view PREFIX = "ERROR: ";
    if (uiStatus == ZDV_SUCCESS)
        return;
    std::array<wchar_t, 1024> aText{};
    m_Module.GetInfo(m_Handle, ZDV_GI_SPECIFIC_ERROR_MSG, aText.data(), aText.size());
    std::string sReason = ToUtf8(aText.data());
    if (sReason.starts_with(PREFIX))
        sReason.erase(0, PREFIX.size());
    if (sReason.empty())
        sReason = fmt::format("the module answers 0x{:08X}", uiStatus);
    const std::uint32_t uiCode = LastErrorCode();
    if (uiCode != 0)
        sReason += fmt::format(" (code {})", uiCode);
    throw DeviceError(fmt::format("{}: {}", pAction, sReason), uiCode);
}

// A filemark says that a transfer has ended, not that it has ended well.
void Device::CheckTransfer(const char* pAction) const
{
    Check(LastErrorCode() == 0 ? ZDV_SUCCESS : ZDV_DEVICE_ERROR, pAction);
}

std::vector<std::time_t> Device::Versions() const
{
    ZDV_LIST List{};
    List.uiSignature = ZDV_LIST_SIGNATURE;
    const ZDV_STATUS uiStatus = m_Module.GetList(m_Handle, ZDV_GL_VERSION_DATE, &List);
    std::vector<std::time_t> Dates;
    for (ZDV_LIST_NODE* pNode = List.pFirst; pNode != nullptr; std::free(std::exchange(pNode, pNode->pNext)))
        Dates.push_back(ToTime(pNode->Date));
    Check(uiStatus, "listing the versions");
    return Dates;
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

// Spacing over no filemarks ends the object and leaves the tape after it. It also drops a filemark that the module
// would report once more. Spacing back leaves the tape before a filemark, so one forward follows.
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
    Check(m_Module.MediaAccess(m_Handle, ZDV_MA_WFM, 1), "completing the upload");
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
