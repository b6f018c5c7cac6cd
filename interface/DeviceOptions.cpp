// ZDV_GetDeviceOptions[W] and ZDV_SetDeviceOptions[W].
#include "common/Text.h"
#include "interface/Entry.h"
#include "interface/InvalidCategory.h"

#include <cstdlib>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr std::uint32_t ONLY_INDEX = 0; // no category has more than one string

std::wstring ServerAddress(const FtpContext& FC)
{
    std::wstring sServer = FC.m_sServer;
    if (!sServer.empty() && sServer.front() == L'[')
        sServer.erase(0, 1);
    if (!sServer.empty() && sServer.back() == L']')
        sServer.pop_back();
    return sServer;
}

// What the narrow and the wide functions do differently, side by side.
struct NarrowOptions
{
    using Char = char;
    static constexpr auto GET_NAME = L"ZDV_GetDeviceOptions";
    static constexpr auto GET_NARROW_NAME = "ZDV_GetDeviceOptions";
    // Two dots, where the wide function writes three: tools that read the log tell them apart by it.
    static constexpr auto GET_ENDING = L"ZDV_GetDeviceOptions : .. ending";
    static constexpr auto GET_NAME_FAILED = L"ZDV_GetDeviceOptions : GetComputerName() failed";
    static constexpr auto SET_NAME = L"ZDV_SetDeviceOptions";
    static constexpr auto SET_ENDING = L"ZDV_SetDeviceOptions : ... ending";

    static std::size_t BufferLength(std::uint32_t uiSize) { return uiSize; }
    static void Copy(const std::wstring& sText, char* pOptions, std::uint32_t uiSize)
    {
        quorvel::CopyTruncated(sText, pOptions, BufferLength(uiSize));
    }
    static BOOL ComputerName(char* pOptions, DWORD* pdwSize) { return GetComputerNameA(pOptions, pdwSize); }
    static std::wstring Text(const char* pOptions) { return quorvel::Widen(pOptions); }
    static std::uint32_t Port(const char* pOptions) { return static_cast<std::uint32_t>(atoi(pOptions)); }
};

struct WideOptions
{
    using Char = wchar_t;
    static constexpr auto GET_NAME = L"ZDV_GetDeviceOptionsW";
    static constexpr auto GET_NARROW_NAME = "ZDV_GetDeviceOptionsW";
    static constexpr auto GET_ENDING = L"ZDV_GetDeviceOptionsW : ... ending";
    static constexpr auto GET_NAME_FAILED = L"ZDV_GetDeviceOptionsW : GetComputerName() failed";
    static constexpr auto SET_NAME = L"ZDV_SetDeviceOptionsW";
    static constexpr auto SET_ENDING = L"ZDV_SetDeviceOptionsW : ... ending";

    static std::size_t BufferLength(std::uint32_t uiSize) { return uiSize / sizeof(wchar_t); }
    // By way of narrow text, so that both functions give a host the same characters.
    static void Copy(const std::wstring& sText, wchar_t* pOptions, std::uint32_t uiSize)
    {
        quorvel::CopyTruncated(quorvel::Widen(quorvel::Narrow(sText)), pOptions, BufferLength(uiSize));
    }
    // Hosts pass the size of this one string in characters, not bytes.
    static BOOL ComputerName(wchar_t* pOptions, DWORD* pdwSize)
    {
        return GetComputerNameW(pOptions, pdwSize);
    }
    static std::wstring Text(const wchar_t* pOptions) { return pOptions; }
    static std::uint32_t Port(const wchar_t* pOptions) { return static_cast<std::uint32_t>(_wtoi(pOptions)); }
};

const wchar_t* CategoryName(std::int32_t uiCategory)
{
    switch (uiCategory)
    {
    case ZDV_INTERFACES:
        return L"ZDV_INTERFACES";
    case ZDV_INTERFACE_OPTIONS:
        return L"ZDV_INTERFACE_OPTIONS";
    case ZDV_ADAPTERS:
        return L"ZDV_ADAPTERS";
    case ZDV_ADAPTER_OPTIONS:
        return L"ZDV_ADAPTER_OPTIONS";
    case ZDV_UNITS:
        return L"ZDV_UNITS";
    case ZDV_FTP_SERVERNAME:
        return L"ZDV_FTP_SERVERNAME";
    case ZDV_FTP_PORT:
        return L"ZDV_FTP_PORT";
    case ZDV_FTP_ROOT:
        return L"ZDV_FTP_ROOT";
    case ZDV_FTP_USERNAME:
        return L"ZDV_FTP_USERNAME";
    default:
        return L"ZDV_FTP_PASSWORD";
    }
}

bool IsGetCategory(std::int32_t uiCategory)
{
    return uiCategory >= ZDV_INTERFACES && uiCategory <= ZDV_UNITS;
}

bool IsSetCategory(std::int32_t uiCategory)
{
    return (uiCategory >= ZDV_INTERFACES && uiCategory <= ZDV_ADAPTER_OPTIONS) ||
           (uiCategory >= ZDV_FTP_SERVERNAME && uiCategory <= ZDV_FTP_PASSWORD);
}

template <typename Options>
ZDV_STATUS CopyComputerName(typename Options::Char* pOptions, std::uint32_t uiSize)
{
    DWORD dwSize = uiSize;
    if (Options::ComputerName(pOptions, &dwSize))
        return ZDV_SUCCESS;
    const DWORD dwLastError = GetLastError();
    FunctionTrace(Options::GET_NAME_FAILED).Number(Level::Error, L"dwLastError", dwLastError);
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

template <typename Options>
ZDV_STATUS CopyOption(const FtpContext& FC, const FunctionTrace& Trace, std::int32_t uiCategory,
                      std::uint32_t uiIndex, typename Options::Char* pOptions, std::uint32_t uiSize)
{
    if (uiCategory == ZDV_INTERFACE_OPTIONS || uiCategory == ZDV_ADAPTER_OPTIONS)
    {
        Trace.Warning(L"ZDV_NO_STRING_EXISTS");
        return ZDV_NO_STRING_EXISTS;
    }
    if (uiIndex != ONLY_INDEX)
        return ZDV_NO_STRING_EXISTS;
    if (uiCategory == ZDV_ADAPTERS)
        return CopyComputerName<Options>(pOptions, uiSize);
    Options::Copy(uiCategory == ZDV_UNITS ? L"Default" : ServerAddress(FC), pOptions, uiSize);
    return ZDV_SUCCESS;
}

// The string just written; but a server that was typed with a password may have been cut in the middle of it.
template <typename Char>
void TraceString(const FtpContext& FC, const FunctionTrace& Trace, std::int32_t uiCategory,
                 const Char* pOptions)
{
    if (uiCategory == ZDV_INTERFACES && FC.m_sServer.find(L'@') != std::wstring::npos)
        Trace.Location(L"pOptions", ServerAddress(FC));
    else
        Trace.Text(Level::Verbose, L"pOptions", pOptions);
}

template <typename Options>
ZDV_STATUS GetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory, std::uint32_t uiIndex,
                            typename Options::Char* pOptions, std::uint32_t uiSize)
{
    return WithDevice(handle, Options::GET_NAME, [&](const FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiCategory", uiCategory);
        Trace.Number(Level::Verbose, L"uiIndex", uiIndex);
        Trace.Number(Level::Verbose, L"uiSize", uiSize);
        if (!IsGetCategory(uiCategory))
        {
            Trace.Warning(L"InvalidCategory");
            return InvalidCategory(Options::GET_NARROW_NAME, static_cast<std::uint32_t>(uiCategory));
        }
        Trace.Verbose(CategoryName(uiCategory));
        const ZDV_STATUS uiRc = CopyOption<Options>(FC, Trace, uiCategory, uiIndex, pOptions, uiSize);
        if (uiRc == ZDV_SUCCESS && Options::BufferLength(uiSize) != 0)
            TraceString(FC, Trace, uiCategory, pOptions);
        return Ended(Options::GET_ENDING, uiRc);
    });
}

// An IPv6 address is bracketed for URLs.
std::wstring Bracketed(std::wstring sServer)
{
    if (sServer.find(L':') != std::wstring::npos && sServer.front() != L'[' && sServer.back() != L']')
        return L"[" + sServer + L"]";
    return sServer;
}

void StoreLocation(std::wstring& sMember, const FunctionTrace& Trace, const wchar_t* sName,
                   std::wstring sText)
{
    sMember = std::move(sText);
    Trace.Location(sName, sMember);
}

template <typename Options>
void StoreOption(FtpContext& FC, const FunctionTrace& Trace, std::int32_t uiCategory,
                 const typename Options::Char* pOptions)
{
    switch (uiCategory)
    {
    case ZDV_FTP_SERVERNAME:
        return StoreLocation(FC.m_sServer, Trace, L"pFC->m_sServer", Bracketed(Options::Text(pOptions)));
    case ZDV_FTP_PORT:
        FC.m_uiPort = Options::Port(pOptions);
        return Trace.Number(Level::Verbose, L"pFC->m_uiPort", FC.m_uiPort);
    case ZDV_FTP_ROOT:
        return StoreLocation(FC.m_sRoot, Trace, L"pFC->m_sRoot", Options::Text(pOptions));
    case ZDV_FTP_USERNAME:
        FC.m_sUsername = Options::Text(pOptions);
        return Trace.Text(Level::Verbose, L"pFC->m_sUsername", FC.m_sUsername);
    case ZDV_FTP_PASSWORD:
        FC.m_sPassword = Options::Text(pOptions);
        return;
    default:
        return; // interfaces and adapters: there is nothing to choose
    }
}

// Never the password, also where a user has typed it as a part of something else.
template <typename Char>
void TraceValue(const FunctionTrace& Trace, std::int32_t uiCategory, const Char* pOptions)
{
    if (uiCategory == ZDV_FTP_USERNAME)
        Trace.Text(Level::Verbose, L"pOptions", pOptions);
    else if (uiCategory != ZDV_FTP_PASSWORD)
        Trace.Location(L"pOptions", pOptions);
}

template <typename Options>
ZDV_STATUS SetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory,
                            const typename Options::Char* pOptions)
{
    return WithDevice(handle, Options::SET_NAME, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiCategory", uiCategory);
        TraceValue(Trace, uiCategory, pOptions);
        if (!IsSetCategory(uiCategory))
        {
            Trace.Warning(L"InvalidCategory");
            // The narrow name from both functions: hosts' log filters look for it.
            return Ended(Options::SET_ENDING,
                         InvalidCategory("ZDV_SetDeviceOptions", static_cast<std::uint32_t>(uiCategory)));
        }
        Trace.Verbose(CategoryName(uiCategory));
        StoreOption<Options>(FC, Trace, uiCategory, pOptions);
        return Ended(Options::SET_ENDING, ZDV_SUCCESS);
    });
}

} // namespace

ZDV_STATUS ZDV_GetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory, std::uint32_t uiIndex,
                                char* pOptions, std::uint32_t uiSize)
{
    return GetDeviceOptions<NarrowOptions>(handle, uiCategory, uiIndex, pOptions, uiSize);
}

ZDV_STATUS ZDV_GetDeviceOptionsW(ZDV_HANDLE handle, std::int32_t uiCategory, std::uint32_t uiIndex,
                                 wchar_t* pOptions, std::uint32_t uiSize)
{
    return GetDeviceOptions<WideOptions>(handle, uiCategory, uiIndex, pOptions, uiSize);
}

ZDV_STATUS ZDV_SetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory, const char* pOptions)
{
    return SetDeviceOptions<NarrowOptions>(handle, uiCategory, pOptions);
}

ZDV_STATUS ZDV_SetDeviceOptionsW(ZDV_HANDLE handle, std::int32_t uiCategory, const wchar_t* pOptions)
{
    return SetDeviceOptions<WideOptions>(handle, uiCategory, pOptions);
}
