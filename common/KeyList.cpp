#include "common/KeyList.h"

#include "common/Environment.h"
#include "common/Text.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>
#include <ws2tcpip.h>

namespace quorvel {

namespace {

using Words = std::vector<std::string>;

constexpr std::string_view DIGITS = "0123456789";
constexpr std::string_view LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Letters, digits and more characters.
bool ConsistsOf(std::string_view sText, std::string_view sMore)
{
    return !sText.empty() && std::ranges::all_of(sText, [&](char c) {
        return LETTERS.find(c) != LETTERS.npos || DIGITS.find(c) != DIGITS.npos ||
               sMore.find(c) != sMore.npos;
    });
}

Words WordsOf(const std::string& sText)
{
    std::istringstream Stream(sText);
    Stream.exceptions(std::ios::badbit); // without memory it throws, and does not end early
    return {std::istream_iterator<std::string>(Stream), {}};
}

// Only ASCII means something here, and that is the same in UTF-8 and in the code pages of Windows.
std::string WithoutMark(const std::string& sSettings)
{
    if (!sSettings.starts_with("\xFF\xFE"))
        return sSettings.substr(sSettings.starts_with("\xEF\xBB\xBF") ? 3 : 0);
    std::wstring sWide(sSettings.size() / 2 - 1, L'\0');
    std::memcpy(sWide.data(), sSettings.data() + 2, sWide.size() * 2);
    return ToUtf8(sWide);
}

bool IsKey(std::string_view sKey)
{
    const bool bSsh = sKey.starts_with("SHA256:");
    if (!bSsh && !(sKey.starts_with("sha256//") && sKey.ends_with('=')))
        return false;
    const std::string_view sHash = bSsh ? sKey.substr(7) : sKey.substr(8, sKey.size() - 9);
    return sHash.size() == 43 && ConsistsOf(sHash, "+/");
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

    std::string sHost; // without brackets and the point at the end
    std::string sPort; // ":22", or empty for all
};

bool IsPort(const std::string& sText)
{
    return !sText.empty() && sText.size() <= 5 && sText.find_first_not_of(DIGITS) == sText.npos &&
           sText[0] != '0' && std::stoul(sText) <= 65535;
}

// "server = key key ...", "server = ?" or "* = required".
bool IsEntry(const Words& aNames, const Words& aValues)
{
    if (aNames.size() != 1 || aValues.empty())
        return false;
    if (aNames[0] == "*")
        return aValues == Words{"required"};
    const ServerName Name(aNames[0]);
    return ConsistsOf(Name.sHost, ".:-_") && (Name.sPort.empty() || IsPort(Name.sPort.substr(1))) &&
           (aValues == Words{"?"} || std::ranges::all_of(aValues, IsKey));
}

bool IsNamed(const std::string& sEntry, const std::string& sServer, const std::string& sPort)
{
    const ServerName Name(sEntry);
    return (Name.sPort.empty() || Name.sPort == ':' + sPort) &&
           _stricmp(ServerName(sServer).sHost.c_str(), Name.sHost.c_str()) == 0;
}

// Whether the line begins a section: "[fd00::7] = ..." does not, nor does "[fd00::7 = ...", which lacks a bracket.
bool IsHeader(const std::string& sLine)
{
    const std::size_t uiEnd = sLine.find(']');
    if (!sLine.starts_with('[') || uiEnd == sLine.npos)
        return false;
    const std::size_t uiRest = sLine.find_first_not_of(" \t", uiEnd + 1);
    return ConsistsOf(sLine.substr(1, uiEnd - 1), " \t_-") && (uiRest == sLine.npos || sLine[uiRest] == ';');
}

ListedKeys Damaged(const std::wstring& sWhy) { return {true, {}, L"zlt.ini, section Server Keys: " + sWhy}; }

} // namespace

ListedKeys FindKeys(const std::string& sSettings, const std::string& sServer, const std::string& sPort)
{
    std::string sText = WithoutMark(sSettings);
    if (sText.find('\0') != sText.npos)
        return Damaged(L"the file is not in UTF-8");
    std::ranges::replace(sText, '\r', '\n');
    ListedKeys Found;
    bool bInside = false;
    bool bSeen = false;
    std::istringstream Lines(sText);
    Lines.exceptions(std::ios::badbit);
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        sLine.erase(0, sLine.find_first_not_of(" \t"));
        if (bInside ? IsHeader(sLine) : sLine.starts_with('['))
        {
            std::erase_if(sLine, [](char c) { return c == ' ' || c == '\t'; });
            bInside = _strnicmp(sLine.c_str(), "[ServerKeys", 11) == 0;
            if (bInside && std::exchange(bSeen, true))
                return Damaged(L"it is there twice");
        }
        else if (bInside && !sLine.empty() && !sLine.starts_with(';'))
        {
            const std::size_t uiEnd = std::min(sLine.find('='), sLine.size() - 1);
            const Words aNames = WordsOf(sLine.substr(0, uiEnd));
            const Words aValues = WordsOf(sLine.substr(uiEnd + 1));
            if (!IsEntry(aNames, aValues))
                return Damaged(L"\"" + Widen(sLine.substr(0, 80)) + L"\" cannot be understood");
            const bool bNamed = IsNamed(aNames[0], sServer, sPort);
            Found.bListed = Found.bListed || bNamed || aNames[0] == "*";
            if (bNamed)
                Found.aKeys.insert(Found.aKeys.end(), aValues.begin(), aValues.end());
        }
        else if (!bInside && !sLine.starts_with(';') && std::ranges::any_of(WordsOf(sLine), IsKey))
            return Damaged(L"a server's key is outside of the section");
    }
    return Found;
}

ListedKeys ReadKeys(const std::string& sServer, const std::string& sPort)
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
    return File.is_open() && !File.bad() ? FindKeys(sSettings, sServer, sPort)
                                         : Damaged(L"the file cannot be read");
}

} // namespace quorvel
