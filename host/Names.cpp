#include "host/Names.h"

#include "host/Errors.h"
#include "host/Text.h"

#include <algorithm>
#include <regex>
#include <windows.h>

namespace {

constexpr std::size_t MAX_PART_LENGTH = 255;
constexpr wchar_t FIRST_PRINTABLE = L' ';

// Such a name means a device in every folder, also with an extension: "nul", "COM1.txt".
bool IsDevice(std::wstring_view sPart)
{
    static const std::wregex DEVICES(
        LR"((CON|PRN|AUX|NUL|CONIN\$|CONOUT\$|(COM|LPT)[1-9\u00B9\u00B2\u00B3]) *(\..*)?)",
        std::regex::icase);
    return std::regex_match(sPart.begin(), sPart.end(), DEVICES);
}

// A colon would mean a drive or an alternate stream. Points and blanks at the end are as good as others, since
// no path is looked up but in full.
bool IsSafePart(std::wstring_view sPart)
{
    constexpr std::wstring_view FORBIDDEN = L"<>:\"/\\|?*";
    const auto IsForbidden = [&](wchar_t c) {
        return c < FIRST_PRINTABLE || FORBIDDEN.find(c) != FORBIDDEN.npos;
    };
    return sPart.size() <= MAX_PART_LENGTH && sPart.find_first_not_of(L". ") != sPart.npos &&
           std::ranges::none_of(sPart, IsForbidden) && !IsDevice(sPart);
}

bool Matches(std::wstring_view sPattern, std::wstring_view sText)
{
    if (sPattern.empty())
        return sText.empty();
    if (sPattern.front() == L'*')
        return Matches(sPattern.substr(1), sText) || (!sText.empty() && Matches(sPattern, sText.substr(1)));
    return !sText.empty() && (sPattern.front() == L'?' || sPattern.front() == sText.front()) &&
           Matches(sPattern.substr(1), sText.substr(1));
}

} // namespace

std::wstring RelativePath(const std::string& sTapeName)
{
    const std::wstring sWide = FromUtf8(sTapeName);
    std::wstring sPath;
    for (std::size_t uiStart = 0; uiStart <= sWide.size();)
    {
        const std::size_t uiEnd = std::min(sWide.find(L'/', uiStart), sWide.size());
        const std::wstring_view sPart = std::wstring_view(sWide).substr(uiStart, uiEnd - uiStart);
        if (!IsSafePart(sPart))
            throw TapeError("it is not a name for a file on Windows");
        sPath.append(sPath.empty() ? L"" : L"\\").append(sPart);
        uiStart = uiEnd + 1;
    }
    return sPath;
}

std::wstring CaseFolded(const std::string& sText)
{
    std::wstring sFolded = FromUtf8(sText);
    CharUpperBuffW(sFolded.data(), static_cast<DWORD>(sFolded.size()));
    return sFolded;
}

bool MatchesAny(const std::vector<std::string>& Patterns, const std::string& sTapeName)
{
    const std::wstring sName = CaseFolded(sTapeName);
    for (const std::string& sGiven : Patterns)
    {
        std::wstring sPattern = CaseFolded(sGiven);
        std::ranges::replace(sPattern, L'\\', L'/');
        sPattern.erase(sPattern.find_last_not_of(L'/') + 1);
        const bool bWhole = sPattern.find(L'/') != sPattern.npos;
        for (std::size_t uiStart = 0, uiEnd = 0; uiEnd < sName.size(); uiStart = uiEnd + 1)
        {
            uiEnd = std::min(sName.find(L'/', uiStart), sName.size());
            const std::size_t uiFrom = bWhole ? 0 : uiStart;
            if (Matches(sPattern, std::wstring_view(sName).substr(uiFrom, uiEnd - uiFrom)))
                return true;
        }
    }
    return false;
}
