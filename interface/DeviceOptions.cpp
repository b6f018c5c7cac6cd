// ZDV_GetDeviceOptions[W] and ZDV_SetDeviceOptions[W].
#include "common/Text.h"
#include "interface/Category.h"
#include "interface/Export.h"

#include <cstdlib>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

constexpr std::uint32_t ONLY_INDEX = 0; // no category has more than one string

// What a get answers.
enum class Get
{
    Refused,
    NoString,
    ServerAddress,
    ComputerName,
    Default
};

// Where a set stores.
enum class Set
{
    Refused,
    Nowhere, // interfaces and adapters: there is nothing to choose
    Server,
    Port,
    Text
};

// How a value is traced. Users type passwords into servers and roots, too: there they are masked.
enum class Shown
{
    Masked,
    InFull,
    Never
};

struct DeviceOption
{
    std::int32_t uiCategory;
    const wchar_t* sName;
    Get enGet;
    Set enSet;
    Shown enShown = Shown::Masked;
    std::wstring FtpContext::*sMember = nullptr; // of a set that stores a text
    const wchar_t* sMemberName = nullptr;
};

constexpr DeviceOption OPTIONS[] = {
    {ZDV_INTERFACES, L"ZDV_INTERFACES", Get::ServerAddress, Set::Nowhere},
    {ZDV_INTERFACE_OPTIONS, L"ZDV_INTERFACE_OPTIONS", Get::NoString, Set::Nowhere},
    {ZDV_ADAPTERS, L"ZDV_ADAPTERS", Get::ComputerName, Set::Nowhere},
    {ZDV_ADAPTER_OPTIONS, L"ZDV_ADAPTER_OPTIONS", Get::NoString, Set::Nowhere},
    {ZDV_UNITS, L"ZDV_UNITS", Get::Default, Set::Refused},
    {ZDV_FTP_SERVERNAME, L"ZDV_FTP_SERVERNAME", Get::Refused, Set::Server, Shown::Masked,
     &FtpContext::m_sServer, L"pFC->m_sServer"},
    {ZDV_FTP_PORT, L"ZDV_FTP_PORT", Get::Refused, Set::Port},
    {ZDV_FTP_ROOT, L"ZDV_FTP_ROOT", Get::Refused, Set::Text, Shown::Masked, &FtpContext::m_sRoot,
     L"pFC->m_sRoot"},
    {ZDV_FTP_USERNAME, L"ZDV_FTP_USERNAME", Get::Refused, Set::Text, Shown::InFull, &FtpContext::m_sUsername,
     L"pFC->m_sUsername"},
    {ZDV_FTP_PASSWORD, L"ZDV_FTP_PASSWORD", Get::Refused, Set::Text, Shown::Never, &FtpContext::m_sPassword},
};

// What the narrow and the wide functions do differently, by the type of the host's buffer. Fixed by the interface: a
// wide string's size is in bytes, but that of the computer name in characters.
std::size_t Characters(const char*, std::uint32_t uiSize) { return uiSize; }
std::size_t Characters(const wchar_t*, std::uint32_t uiSize) { return uiSize / sizeof(wchar_t); }

std::wstring Given(const std::wstring& sText, const char*) { return sText; }
// By way of narrow text, so that both functions give a host the same characters.
std::wstring Given(const std::wstring& sText, const wchar_t*)
{
    return quorvel::Widen(quorvel::Narrow(sText));
}

BOOL ComputerName(char* pOptions, DWORD* pdwSize) { return GetComputerNameA(pOptions, pdwSize); }
BOOL ComputerName(wchar_t* pOptions, DWORD* pdwSize) { return GetComputerNameW(pOptions, pdwSize); }

std::wstring Text(const char* pOptions) { return quorvel::Widen(pOptions); }
std::wstring Text(const wchar_t* pOptions) { return pOptions; }

int Number(const char* pOptions) { return atoi(pOptions); }
int Number(const wchar_t* pOptions) { return _wtoi(pOptions); }

std::wstring ServerAddress(const FtpContext& FC)
{
    std::wstring sServer = FC.m_sServer;
    if (!sServer.empty() && sServer.front() == L'[')
        sServer.erase(0, 1);
    if (!sServer.empty() && sServer.back() == L']')
        sServer.pop_back();
    return sServer;
}

template <typename Char>
ZDV_STATUS CopyComputerName(const FunctionTrace& Trace, Char* pOptions, std::uint32_t uiSize)
{
    DWORD dwSize = uiSize;
    if (ComputerName(pOptions, &dwSize))
        return ZDV_SUCCESS;
    const DWORD dwLastError = GetLastError();
    Trace.At(L"GetComputerName() failed").Number(Level::Error, L"dwLastError", dwLastError);
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

template <typename Char>
ZDV_STATUS CopyOption(const FtpContext& FC, const FunctionTrace& Trace, Get enGet, std::uint32_t uiIndex,
                      Char* pOptions, std::uint32_t uiSize)
{
    if (enGet == Get::NoString)
        Trace.Warning(L"ZDV_NO_STRING_EXISTS");
    if (enGet == Get::NoString || uiIndex != ONLY_INDEX)
        return ZDV_NO_STRING_EXISTS;
    if (enGet == Get::ComputerName)
        return CopyComputerName(Trace, pOptions, uiSize);
    const std::wstring sText = enGet == Get::Default ? L"Default" : ServerAddress(FC);
    quorvel::CopyTruncated(Given(sText, pOptions), pOptions, Characters(pOptions, uiSize));
    return ZDV_SUCCESS;
}

// Traces the string just written. A server that was typed with a password is traced whole and masked instead: what was
// written may be cut before the "@" by which a password is recognised.
template <typename Char>
void TraceString(const FtpContext& FC, const FunctionTrace& Trace, Get enGet, const Char* pOptions)
{
    if (enGet == Get::ServerAddress && FC.m_sServer.find(L'@') != std::wstring::npos)
        Trace.Location(L"pOptions", ServerAddress(FC));
    else
        Trace.Text(L"pOptions", pOptions);
}

template <typename Char>
ZDV_STATUS GetDeviceOptions(const Export& Names, ZDV_HANDLE handle, std::int32_t uiCategory,
                            std::uint32_t uiIndex, Char* pOptions, std::uint32_t uiSize)
{
    return WithDevice(handle, Names, [&](const FtpContext& FC, const FunctionTrace& Trace) -> Answer {
        Trace.Number(L"uiCategory", uiCategory);
        Trace.Number(L"uiIndex", uiIndex);
        Trace.Number(L"uiSize", uiSize);
        const DeviceOption* const pOption = FindCategory(OPTIONS, uiCategory);
        if (pOption == nullptr || pOption->enGet == Get::Refused)
        {
            Trace.Warning(L"InvalidCategory");
            return Answer::WithoutEnding(InvalidCategory(Trace, static_cast<std::uint32_t>(uiCategory)));
        }
        Trace.Verbose(pOption->sName);
        const ZDV_STATUS uiRc = CopyOption(FC, Trace, pOption->enGet, uiIndex, pOptions, uiSize);
        if (uiRc == ZDV_SUCCESS && Characters(pOptions, uiSize) != 0)
            TraceString(FC, Trace, pOption->enGet, pOptions);
        return uiRc;
    });
}

// An IPv6 address is bracketed for URLs.
std::wstring Bracketed(std::wstring sServer)
{
    if (sServer.find(L':') != std::wstring::npos && sServer.front() != L'[' && sServer.back() != L']')
        return L"[" + sServer + L"]";
    return sServer;
}

template <typename Char>
void TraceValue(const FunctionTrace& Trace, Shown enShown, const wchar_t* sName, const Char* sValue)
{
    if (enShown == Shown::InFull)
        Trace.Text(sName, sValue);
    else if (enShown == Shown::Masked)
        Trace.Location(sName, sValue);
}

template <typename Char>
void Store(FtpContext& FC, const FunctionTrace& Trace, const DeviceOption& Option, const Char* pOptions)
{
    if (Option.enSet == Set::Port)
    {
        FC.m_uiPort = static_cast<std::uint32_t>(Number(pOptions));
        Trace.Number(L"pFC->m_uiPort", FC.m_uiPort);
    }
    if (Option.sMember == nullptr)
        return;
    std::wstring& sMember = FC.*Option.sMember;
    sMember = Option.enSet == Set::Server ? Bracketed(Text(pOptions)) : Text(pOptions);
    TraceValue(Trace, Option.enShown, Option.sMemberName, sMember.c_str());
}

template <typename Char>
ZDV_STATUS SetDeviceOptions(const Export& Names, ZDV_HANDLE handle, std::int32_t uiCategory,
                            const Char* pOptions)
{
    return WithDevice(handle, Names, [&](FtpContext& FC, const FunctionTrace& Trace) {
        const DeviceOption* const pOption = FindCategory(OPTIONS, uiCategory);
        Trace.Number(L"uiCategory", uiCategory);
        TraceValue(Trace, pOption != nullptr ? pOption->enShown : Shown::Masked, L"pOptions", pOptions);
        if (pOption == nullptr || pOption->enSet == Set::Refused)
        {
            Trace.Warning(L"InvalidCategory");
            // Log text fixed: the narrow name from both functions.
            return InvalidCategory(FunctionTrace(L"ZDV_SetDeviceOptions"),
                                   static_cast<std::uint32_t>(uiCategory));
        }
        Trace.Verbose(pOption->sName);
        Store(FC, Trace, *pOption, pOptions);
        return ZDV_SUCCESS;
    });
}

} // namespace

ZDV_STATUS ZDV_GetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory, std::uint32_t uiIndex,
                                char* pOptions, std::uint32_t uiSize)
{
    // Log text fixed: two dots, where the wide function writes three.
    return GetDeviceOptions({L"ZDV_GetDeviceOptions", L".. ending"}, handle, uiCategory, uiIndex, pOptions,
                            uiSize);
}

ZDV_STATUS ZDV_GetDeviceOptionsW(ZDV_HANDLE handle, std::int32_t uiCategory, std::uint32_t uiIndex,
                                 wchar_t* pOptions, std::uint32_t uiSize)
{
    return GetDeviceOptions({L"ZDV_GetDeviceOptionsW"}, handle, uiCategory, uiIndex, pOptions, uiSize);
}

ZDV_STATUS ZDV_SetDeviceOptions(ZDV_HANDLE handle, std::int32_t uiCategory, const char* pOptions)
{
    return SetDeviceOptions({L"ZDV_SetDeviceOptions"}, handle, uiCategory, pOptions);
}

ZDV_STATUS ZDV_SetDeviceOptionsW(ZDV_HANDLE handle, std::int32_t uiCategory, const wchar_t* pOptions)
{
    return SetDeviceOptions({L"ZDV_SetDeviceOptionsW"}, handle, uiCategory, pOptions);
}
