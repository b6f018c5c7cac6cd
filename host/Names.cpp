#include "host/Names.h"

#include "host/Errors.h"
#include "host/Text.h"

#include <algorithm>
#include <regex>
#include <windows.h>

namespace {

// Control characters and signs that mean more than themselves: a colon would mean a drive or an alternate stream.
// Not only points and blanks, though these at the end are as good as others, since no path is looked up but in full.
// No name that means a device in every folder, also with an extension: "nul", "COM1.txt".
bool IsSafePart(std::wstring_view sPart)
{
    constexpr std::size_t MAX_LENGTH = 255;
    static const std::wregex SAFE(
        LR"(^(?![. ]*$))"
        LR"((?!(CON|PRN|AUX|NUL|CONIN\$|CONOUT\$|(COM|LPT)[1-9\u00B9\u00B2\u00B3]) *(\..*)?$))"
        LR"([^<>:"/\\|?*\u0000-\u001F]+)",
        std::regex::icase | std::regex::optimize);
    return sPart.size() <= MAX_LENGTH && std::regex_match(sPart.begin(), sPart.end(), SAFE);
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
    std::wstring sPath = FromUtf8(sTapeName);
    for (std::size_t uiStart = 0, uiEnd = 0; uiEnd < sPath.size() || uiStart == 0; uiStart = uiEnd + 1)
    {
        uiEnd = std::min(sPath.find(L'/', uiStart), sPath.size());
        if (!IsSafePart(std::wstring_view(sPath).substr(uiStart, uiEnd - uiStart)))
            throw TapeError("it is not a name for a file on Windows");
    }
    std::ranges::replace(sPath, L'/', L'\\');
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
