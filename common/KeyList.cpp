#include "common/KeyList.h"

#include "common/Environment.h"
#include "common/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
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
constexpr const char* BLANKS = " \t\xEF\xBB\xBF\xFE\xFF"; // with the marks that editors write before a text

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

// An address in its shortest form, which is libcurl's; a name as it is. Empty for a text with a colon that is no address.
std::string ShortestForm(const std::string& sHost)
{
    IN_ADDR Address{};
    Address.s_addr = inet_addr(sHost.c_str());
    if (sHost.find(':') == sHost.npos)
        return Address.s_addr == INADDR_NONE ? sHost : inet_ntoa(Address);
    IN6_ADDR Address6{};
    wchar_t aText[INET6_ADDRSTRLEN] = L"";
    if (InetPtonW(AF_INET6, Widen(sHost).c_str(), &Address6) == 1)
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

ListedKeys Damaged(const std::wstring& sWhy) { return {true, {}, L"zlt.ini, section Server Keys: " + sWhy}; }

} // namespace

ListedKeys FindKeys(std::string sSettings, const std::string& sServer)
{
    std::erase(sSettings, '\0'); // of UTF-16: only ASCII means something here
    std::ranges::replace(sSettings, '\r', '\n');
    const ServerName Wanted(sServer);
    ListedKeys Found;
    bool bInside = false;
    bool bSeen = false;
    std::istringstream Lines(sSettings);
    Lines.exceptions(std::ios::badbit);
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        sLine.erase(0, sLine.find_first_not_of(BLANKS));
        if (sLine.empty() || sLine[0] == ';')
            continue;
        // In the section "[fd00::7] = ..." and "[nas = ..." are entries, good or bad.
        if (sLine[0] == '[' &&
            (!bInside || (sLine.find(']') != sLine.npos && sLine.find_first_of(":=") == sLine.npos)))
        {
            std::erase_if(sLine, [](char c) { return c == ' ' || c == '\t'; });
            bInside = _strnicmp(sLine.c_str(), "[ServerKeys", 11) == 0;
            if (bInside && std::exchange(bSeen, true))
                return Damaged(L"it is there twice");
        }
        else if (bInside && !AddEntry(Found, sLine, Wanted))
            return Damaged(L"\"" + Widen(sLine.substr(0, 80)) + L"\" cannot be understood");
        else if (!bInside && std::ranges::any_of(WordsOf(sLine), IsKey))
            return Damaged(L"a server's key is outside of the section");
    }
    return Found;
}

ListedKeys ReadKeys(const std::string& sServer)
{
    const std::wstring sFile = SettingsFile();
    // Whether a file is there whose path is too long, the system does not say: that is another error.
    if (GetFileAttributesW(sFile.c_str()) == INVALID_FILE_ATTRIBUTES &&
        GetLastError() == ERROR_FILE_NOT_FOUND)
        return {};
    std::ifstream File(sFile.c_str(), std::ios::binary);
    std::string sSettings;
    for (char c = 0; File.get(c);)
        sSettings += c;
    return File.is_open() && !File.bad() ? FindKeys(std::move(sSettings), sServer)
                                         : Damaged(L"the file cannot be read");
}

} // namespace quorvel
