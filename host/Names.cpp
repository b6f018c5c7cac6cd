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

// After a mismatch the last star takes one character more; those before it need not be tried again.
bool Matches(std::wstring_view sPattern, std::wstring_view sText)
{
    std::size_t uiPattern = 0;
    std::size_t uiText = 0;
    std::size_t uiStar = sPattern.npos;
    std::size_t uiStarText = 0;
    while (uiText < sText.size())
        if (uiPattern < sPattern.size() && sPattern[uiPattern] == L'*')
        {
            uiStar = uiPattern++;
            uiStarText = uiText;
        }
        else if (uiPattern < sPattern.size() &&
                 (sPattern[uiPattern] == L'?' || sPattern[uiPattern] == sText[uiText]))
        {
            ++uiPattern;
            ++uiText;
        }
        else if (uiStar != sPattern.npos)
        {
            uiPattern = uiStar + 1;
            uiText = ++uiStarText;
        }
        else
            return false;
    return sPattern.find_first_not_of(L'*', uiPattern) == sPattern.npos;
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

Patterns::Patterns(const std::vector<std::string>& Given)
{
    for (const std::string& sGiven : Given)
    {
        std::wstring sFolded = CaseFolded(sGiven);
        std::ranges::replace(sFolded, L'\\', L'/');
        sFolded.erase(sFolded.find_last_not_of(L'/') + 1);
        const bool bWhole = sFolded.find(L'/') != sFolded.npos;
        m_All.push_back({sGiven, sFolded, bWhole, false});
    }
}

bool Patterns::Match(const std::string& sTapeName)
{
    const std::wstring sName = CaseFolded(sTapeName);
    bool bAny = false;
    for (std::size_t uiStart = 0, uiEnd = 0; uiEnd < sName.size(); uiStart = uiEnd + 1)
    {
        uiEnd = std::min(sName.find(L'/', uiStart), sName.size());
        for (Pattern& Each : m_All) // all of them, since each is told whether it has matched
        {
            const std::size_t uiFrom = Each.bWhole ? 0 : uiStart;
            const bool bMatch =
                Matches(Each.sFolded, std::wstring_view(sName).substr(uiFrom, uiEnd - uiFrom));
            Each.bMatched = Each.bMatched || bMatch;
            bAny = bAny || bMatch;
        }
    }
    return bAny;
}

std::vector<std::string> Patterns::Unmatched() const
{
    std::vector<std::string> Found;
    for (const Pattern& Each : m_All)
        if (!Each.bMatched)
            Found.push_back(Each.sGiven);
    return Found;
}
