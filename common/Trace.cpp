#include "common/Trace.h"

#include "common/Environment.h"
#include "common/Text.h"

#include <algorithm>
#include <codecvt>
#include <cwchar>
#include <locale>
#include <mutex>
#include <shlwapi.h>
#include <utility>
#include <windows.h>
#include <ws2tcpip.h>

namespace quorvel {

CTrace g_Trace;

namespace {

constexpr DWORD PATH_BUFFER = 260; // characters

template <typename... Values> std::wstring Format(const wchar_t* pFormat, Values... values)
{
    wchar_t aText[128];
    const int iLength = _snwprintf_s(aText, std::size(aText), _TRUNCATE, pFormat, values...);
    return iLength < 0 ? std::wstring(aText) : std::wstring(aText, static_cast<std::size_t>(iLength));
}

const wchar_t* Tag(Level enLevel)
{
    static constexpr std::pair<Level, const wchar_t*> TAGS[] = {{Level::Error, L":[E]: "},
                                                                {Level::Warning, L":[W]: "},
                                                                {Level::Information, L":[I]: "},
                                                                {Level::Verbose, L":[V]: "}};
    for (const auto& [enTagged, sTag] : TAGS)
        if (enTagged == enLevel)
            return sTag;
    return L"";
}

std::wstring Header(Level enLevel)
{
    SYSTEMTIME Now;
    GetLocalTime(&Now);
    const std::wstring sTime = Format(L"[%4.4u-%2.2u-%2.2u %2.2u:%2.2u:%2.2u.%3.3u]", Now.wYear, Now.wMonth,
                                      Now.wDay, Now.wHour, Now.wMinute, Now.wSecond, Now.wMilliseconds);
    return sTime + Format(L":%4.4lx", GetCurrentThreadId()) + Tag(enLevel);
}

const wchar_t* ControlName(wchar_t c)
{
    static constexpr const wchar_t* NAMES[] = {L"<NULL>", nullptr, nullptr,    nullptr, nullptr,
                                               nullptr,   nullptr, L"<Alert>", L"<BS>", L"<Tab>",
                                               L"<LF>",   L"<VT>", L"<FF>",    L"<CR>"};
    return c < std::size(NAMES) ? NAMES[c] : nullptr;
}

std::wstring Quoted(wchar_t cQuote, std::wstring_view sText)
{
    std::wstring sQuoted(1, cQuote);
    for (const wchar_t c : sText)
    {
        if (const wchar_t* pName = ControlName(c))
            sQuoted += pName;
        else
            sQuoted += c;
    }
    return sQuoted + cQuote;
}

const wchar_t* OrNull(const wchar_t* pText) { return pText != nullptr ? pText : L"<null>"; }

std::wstring OrNull(const char* pText) { return pText != nullptr ? Widen(pText) : L"<null>"; }

std::wstring IPv6Text(std::string_view sBytes)
{
    IN6_ADDR Address;
    wchar_t aText[INET6_ADDRSTRLEN];
    if (sBytes.size() != sizeof(Address))
        return L"<Invalid IPv6 address>";
    std::copy(sBytes.begin(), sBytes.end(), reinterpret_cast<char*>(&Address));
    return InetNtopW(AF_INET6, &Address, aText, std::size(aText)) != nullptr ? aText
                                                                             : L"<Invalid IPv6 address>";
}

std::string_view AsBytes(const std::uint8_t* pValue, std::size_t uiLength)
{
    return pValue != nullptr ? std::string_view(reinterpret_cast<const char*>(pValue), uiLength)
                             : std::string_view();
}

const wchar_t* DayName(WORD wDayOfWeek)
{
    static const wchar_t* const NAMES[] = {L"Sunday",   L"Monday", L"Tuesday", L"Wednesday",
                                           L"Thursday", L"Friday", L"Saturday"};
    return wDayOfWeek < std::size(NAMES) ? NAMES[wDayOfWeek] : L"<invalid>";
}

} // namespace

CTrace::CTrace() : m_uiLevelMask(7), m_sFileName(L"ZDV_FTP_trace.log"), m_sLevelKey(L"ZDV_FTP_TraceLevel")
{
    m_Stream.imbue(std::locale(std::locale::classic(), new std::codecvt_utf8_utf16<wchar_t>));
    m_sFilePath = CTrace::LogFolder() + L"\\" + m_sFileName;
    KeepPreviousFile();
    // Set last: the folder of the log must not depend on it, but that of "trace.ini" does.
    m_uiEnvironment = EnvironmentCode();
}

CTrace::~CTrace() = default;

std::wstring CTrace::OldFilePath() const { return m_sFilePath.substr(0, m_sFilePath.rfind(L'.')) + L".old"; }

void CTrace::KeepPreviousFile() const
{
    if (!PathFileExistsW(m_sFilePath.c_str()))
        return;
    CopyFileW(m_sFilePath.c_str(), OldFilePath().c_str(), FALSE);
    DeleteFileW(m_sFilePath.c_str());
}

const std::wstring& CTrace::LogFolder()
{
    if (!m_sFolder.empty())
        return m_sFolder;
    const std::wstring sBase = ProgramFolder();
    const std::wstring sDefault =
        m_uiEnvironment == ENVIRONMENT_VERSION_5_2 ? L"Z:\\ZELT\\Logfiles" : sBase + L"\\Logfiles";
    wchar_t aFolder[PATH_BUFFER];
    GetPrivateProfileStringW(L"File Locations", L"Logfiles", sDefault.c_str(), aFolder, PATH_BUFFER,
                             SettingsFile().c_str());
    m_sFolder = aFolder;
    if (!PathFileExistsW(m_sFolder.c_str()))
        CreateDirectoryW(m_sFolder.c_str(), nullptr);
    return m_sFolder;
}

const std::wstring& CTrace::FilePath() const { return m_sFilePath; }

std::wstring CTrace::ProgramFolder() const { return quorvel::ProgramFolder(); }

void CTrace::SetLevelMask(std::uint32_t uiMask) { m_uiLevelMask = uiMask; }

void CTrace::ReadLevel()
{
    static const std::uint32_t MASKS[] = {0, 1, 3, 7, 15};
    const std::wstring sBase = m_uiEnvironment == ENVIRONMENT_VERSION_5_2 ? L"Z:\\ZELT" : ProgramFolder();
    const UINT uiSetting =
        GetPrivateProfileIntW(L"Main", m_sLevelKey.c_str(), 5, (sBase + L"\\trace.ini").c_str());
    if (uiSetting < std::size(MASKS))
        m_uiLevelMask = MASKS[uiSetting];
}

bool CTrace::DeleteOldFile() const { return DeleteFileW(OldFilePath().c_str()) != FALSE; }

bool CTrace::CanWrite()
{
    const bool bFree = m_Lock.try_lock();
    if (bFree)
        m_Lock.unlock();
    return bFree;
}

void CTrace::WriteLine(Level enLevel, std::wstring_view sFunction, std::wstring_view sBody)
{
    const std::scoped_lock Lock(m_Lock);
    // Made before the file is opened: if there is no memory for the line, the file stays closed.
    const std::wstring sLine = Header(enLevel) + WellFormed(sFunction) + L" : " + WellFormed(sBody) + L"\n";
    m_Stream.open(m_sFilePath.c_str(), std::ios::app);
    if (!m_Stream)
        return;
    m_Stream << sLine;
    m_Stream.close();
}

void CTrace::WriteVariable(Level enLevel, std::wstring_view sFunction, std::wstring_view sName,
                           std::wstring_view sValue)
{
    std::wstring sBody(sName);
    sBody.append(L" = ").append(sValue);
    WriteLine(enLevel, sFunction, sBody);
}

void CTrace::Message(Level enLevel, const char* pFunction, const char* pMessage)
{
    if (IsEnabled(enLevel))
        WriteLine(enLevel, OrNull(pFunction), OrNull(pMessage));
}

void CTrace::Message(Level enLevel, const wchar_t* pFunction, const char* pMessage)
{
    if (IsEnabled(enLevel))
        WriteLine(enLevel, OrNull(pFunction), OrNull(pMessage));
}

void CTrace::Message(Level enLevel, const wchar_t* pFunction, const wchar_t* pMessage)
{
    if (IsEnabled(enLevel))
        WriteLine(enLevel, OrNull(pFunction), OrNull(pMessage));
}

void CTrace::Character(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, wchar_t cValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, Quoted(L'\'', std::wstring_view(&cValue, 1)));
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::wstring& sValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, Quoted(L'\'', sValue));
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const wchar_t* pValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, pValue != nullptr ? Quoted(L'\'', pValue) : L"<null>");
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const char* pValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, pValue != nullptr ? Quoted(L'"', Widen(pValue)) : L"<null>");
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::string& sValue)
{
    Text(enLevel, pFunction, pName, sValue.c_str());
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const char* pValue,
                  std::size_t uiLength)
{
    if (IsEnabled(enLevel))
        Text(enLevel, pFunction, pName, std::string(pValue, uiLength));
}

void CTrace::Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::uint8_t* pValue,
                  std::size_t uiLength)
{
    Text(enLevel, pFunction, pName, reinterpret_cast<const char*>(pValue), uiLength);
}

void CTrace::Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint32_t uiValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, std::to_wstring(uiValue));
}

void CTrace::Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint64_t ullValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, std::to_wstring(ullValue));
}

void CTrace::Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::int64_t llValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, std::to_wstring(llValue));
}

void CTrace::Hexadecimal(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint32_t uiValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, Format(L"0x%x", uiValue));
}

void CTrace::Truth(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint8_t uiValue)
{
    Truth(enLevel, pFunction, pName, static_cast<std::int32_t>(uiValue));
}

void CTrace::Truth(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::int32_t iValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, iValue != 0 ? L"true" : L"false");
}

void CTrace::Pointer(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const void* pValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName,
                      Format(L"0x%llx", static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(pValue))));
}

void CTrace::Real(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, double dValue)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, Format(L"%g", dValue));
}

void CTrace::Bytes(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::uint8_t* pValue,
                   std::size_t uiLength)
{
    if (!IsEnabled(enLevel))
        return;
    std::wstring sBytes = L"{";
    for (const char c : AsBytes(pValue, uiLength))
        sBytes += Format(L" %2.2X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    WriteVariable(enLevel, pFunction, pName, sBytes + L" }");
}

void CTrace::Invalid(Level enLevel, const wchar_t* pFunction, const wchar_t* pName)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, L"<invalid>");
}

void CTrace::IPv6(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::uint8_t* pBytes,
                  std::size_t uiLength)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, IPv6Text(AsBytes(pBytes, uiLength)));
}

void CTrace::IPv6(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const std::string& sBytes)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName, IPv6Text(sBytes));
}

void CTrace::Guid(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const GUID& Value)
{
    if (!IsEnabled(enLevel))
        return;
    const auto& a = Value.Data4;
    WriteVariable(enLevel, pFunction, pName,
                  Format(L"{ %8.8X-%4.4X-%4.4X-%2.2X%2.2X-%2.2X%2.2X%2.2X%2.2X%2.2X%2.2X }",
                         static_cast<unsigned>(Value.Data1), Value.Data2, Value.Data3, a[0], a[1], a[2], a[3],
                         a[4], a[5], a[6], a[7]));
}

void CTrace::DateTime(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const SYSTEMTIME& Value)
{
    if (IsEnabled(enLevel))
        WriteVariable(enLevel, pFunction, pName,
                      Format(L"%ls %4.4u-%2.2u-%2.2u %2.2u:%2.2u:%2.2u.%3.3u", DayName(Value.wDayOfWeek),
                             Value.wYear, Value.wMonth, Value.wDay, Value.wHour, Value.wMinute, Value.wSecond,
                             Value.wMilliseconds));
}

} // namespace quorvel
