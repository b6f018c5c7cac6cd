#include "common/KeyList.h"

#include "common/Environment.h"
#include "common/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>
#include <ws2tcpip.h>

namespace quorvel {

namespace {

using Words = std::vector<std::string>;

constexpr const char* BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr const char* NAME = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.:-_";

Words WordsOf(const std::string& sText)
{
    std::istringstream Stream(sText);
    Stream.exceptions(std::ios::badbit); // without memory it throws, and does not end early
    return {std::istream_iterator<std::string>(Stream), {}};
}

bool IsKey(const std::string& sKey)
{
    const bool bSsh = sKey.size() == 50 && sKey.starts_with("SHA256:");
    const bool bTls = sKey.size() == 52 && sKey.starts_with("sha256//") && sKey.back() == '=';
    return (bSsh && sKey.find_first_not_of(BASE64, 7) == sKey.npos) ||
           (bTls && sKey.find_first_not_of(BASE64, 8) == 51);
}

// UTF-16 becomes UTF-8. All else stays as it is: only ASCII matters here, and that is the same in UTF-8 and in the code
// pages of Windows.
std::string WithoutUtf16(const std::string& sSettings)
{
    if (!sSettings.starts_with("\xFF\xFE"))
        return sSettings;
    std::wstring sWide(sSettings.size() / 2 - 1, L'\0');
    std::memcpy(sWide.data(), sSettings.data() + 2, sWide.size() * 2);
    return ToUtf8(sWide);
}

// The shortest form of an address, as libcurl writes it. A name is kept. Empty for a text with a colon that is no
// address.
std::string ShortestForm(const std::string& sHost)
{
    wchar_t aText[INET6_ADDRSTRLEN] = L"";
    IN_ADDR Address{};
    IN6_ADDR Address6{};
    Address.s_addr = inet_addr(sHost.c_str());
    if (sHost.find(':') == sHost.npos && Address.s_addr == INADDR_NONE)
        return sHost;
    if (sHost.find(':') == sHost.npos)
        InetNtopW(AF_INET, &Address, aText, std::size(aText));
    else if (InetPtonW(AF_INET6, Widen(sHost).c_str(), &Address6) == 1)
        InetNtopW(AF_INET6, &Address6, aText, std::size(aText));
    return ToUtf8(aText);
}

struct ServerName
{
    explicit ServerName(std::string sText) : sHost(std::move(sText))
    {
        const std::size_t uiColon = sHost.rfind(':');
        if (uiColon != sHost.npos && (sHost.find(':') == uiColon || sHost[uiColon - 1] == ']'))
        {
            sPort = sHost.substr(uiColon);
            sHost.resize(uiColon);
        }
        std::erase_if(sHost, [](char c) { return c == '[' || c == ']'; });
        if (sHost.ends_with('.'))
            sHost.pop_back();
        sHost = ShortestForm(sHost);
    }

    bool IsValid() const
    {
        const auto uiPort =
            static_cast<std::uint16_t>(std::strtoul(sPort.c_str() + !sPort.empty(), nullptr, 10));
        return !sHost.empty() && sHost.find_first_not_of(NAME) == sHost.npos &&
               (sPort.empty() || (uiPort != 0 && sPort == ':' + std::to_string(uiPort)));
    }

    std::string sHost; // without brackets and the point at the end
    std::string sPort; // ":22", or empty for all
};

// Adds what "server = key key ...", "server = ?" or "* = required" says of a server. False for any other line.
bool AddEntry(ListedKeys& Found, const std::string& sLine, const ServerName& Wanted)
{
    const std::size_t uiEnd = sLine.find('=');
    const Words aNames = WordsOf(sLine.substr(0, uiEnd));
    const Words aValues = WordsOf(sLine.substr(uiEnd + 1));
    if (aNames.size() != 1 || aValues.empty())
        return false;
    if (aNames[0] == "*")
    {
        Found.bListed = true;
        return aValues == Words{"required"};
    }
    const ServerName Name(aNames[0]);
    if (!Name.IsValid() || !(aValues == Words{"?"} || std::ranges::all_of(aValues, IsKey)))
        return false;
    if ((Name.sPort.empty() || Name.sPort == Wanted.sPort) &&
        _stricmp(Name.sHost.c_str(), Wanted.sHost.c_str()) == 0)
    {
        Found.bListed = true;
        Found.aKeys.insert(Found.aKeys.end(), aValues.begin(), aValues.end());
    }
    return true;
}

// "[section]", perhaps with a comment. In "[fd00::7] = ..." and "[nas = ..." the bracket is one of an address.
bool IsHeader(const std::string& sLine)
{
    const std::size_t uiEnd = sLine.find_first_of("].:=");
    if (sLine[0] != '[' || uiEnd == sLine.npos || sLine[uiEnd] != ']')
        return false;
    const Words aRest = WordsOf(sLine.substr(uiEnd + 1));
    return aRest.empty() || aRest[0][0] == ';';
}

ListedKeys Damaged(const std::wstring& sWhy) { return {true, {}, L"zlt.ini, section Server Keys: " + sWhy}; }

ListedKeys Damaged(const std::string& sLine, const wchar_t* sWhy)
{
    return Damaged(L"\"" + Widen(sLine.substr(0, 80)) + L"\" " + sWhy);
}

} // namespace

ListedKeys FindKeys(const std::string& sSettings, const std::string& sServer)
{
    std::string sText = WithoutUtf16(sSettings);
    if (sText.find('\0') != sText.npos)
        return Damaged(L"the file is not in UTF-8");
    std::ranges::replace(sText, '\r', '\n');
    const ServerName Wanted(sServer);
    ListedKeys Found;
    bool bInside = false;
    bool bSeen = false;
    std::istringstream Lines(sText);
    Lines.exceptions(std::ios::badbit);
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        sLine.erase(0, sLine.find_first_not_of(" \t\xEF\xBB\xBF")); // with the mark of UTF-8
        if (sLine.empty() || sLine[0] == ';')
            continue;
        const bool bHeader = IsHeader(sLine);
        if (bInside && !bHeader)
        {
            if (!AddEntry(Found, sLine, Wanted))
                return Damaged(sLine, L"cannot be understood");
            continue;
        }
        std::string sDense = sLine;
        std::erase_if(sDense, [](char c) { return c == ' ' || c == '\t'; });
        bInside = _strnicmp(sDense.c_str(), "[ServerKeys", 11) == 0;
        if (bInside && !bHeader)
            return Damaged(sLine, L"cannot be understood");
        if (bInside && std::exchange(bSeen, true))
            return Damaged(L"it is in the file more than once");
        const Words aValues = WordsOf(sLine.substr(sLine.find('=') + 1));
        if (!bInside && (sDense == "*=required" || std::ranges::any_of(aValues, IsKey)))
            return Damaged(sLine, L"is outside of the section");
    }
    return Found;
}

ListedKeys ReadKeys(const std::string& sServer)
{
    const std::wstring sFile = SettingsFile();
    // If the path is too long the system gives another error, and does not say whether the file exists.
    if (GetFileAttributesW(sFile.c_str()) == INVALID_FILE_ATTRIBUTES &&
        GetLastError() == ERROR_FILE_NOT_FOUND)
        return {};
    std::ifstream File(sFile.c_str(), std::ios::binary);
    std::string sSettings;
    for (char c = 0; File.get(c);)
        sSettings += c;
    return File.is_open() && !File.bad() ? FindKeys(sSettings, sServer) : Damaged(L"the file cannot be read");
}

} // namespace quorvel
