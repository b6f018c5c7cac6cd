#include "host/Names.h"

#include "host/Errors.h"
#include "host/Text.h"

#include <algorithm>
#include <windows.h>

namespace {

// What lies between the "/" of a name.
std::vector<std::wstring_view> Parts(std::wstring_view sName)
{
    std::vector<std::wstring_view> Found;
    for (;;)
    {
        const std::size_t uiEnd = sName.find(L'/');
        Found.push_back(sName.substr(0, uiEnd));
        if (uiEnd == sName.npos)
            return Found;
        sName.remove_prefix(uiEnd + 1);
    }
}

std::wstring Upper(std::wstring sText)
{
    CharUpperBuffW(sText.data(), static_cast<DWORD>(sText.size()));
    return sText;
}

// A device has its name in every folder and with every extension: "nul", "COM1.txt", "aux .x".
bool IsDevice(std::wstring_view sPart)
{
    constexpr std::wstring_view DEVICES[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
    constexpr std::wstring_view NUMBERED[] = {L"COM", L"LPT"};
    constexpr std::wstring_view NUMBERS = L"123456789\u00B9\u00B2\u00B3";
    std::wstring sStem(sPart.substr(0, sPart.find(L'.')));
    sStem = Upper(sStem.substr(0, sStem.find_last_not_of(L' ') + 1));
    return std::ranges::find(DEVICES, sStem) != std::end(DEVICES) ||
           (sStem.size() == 4 && NUMBERS.find(sStem.back()) != NUMBERS.npos &&
            std::ranges::find(NUMBERED, sStem.substr(0, 3)) != std::end(NUMBERED));
}

// A colon would mean a drive or an alternate stream. Dots and blanks at the end are allowed, since all paths are opened
// by their full names, which keep them.
bool IsSafePart(std::wstring_view sPart)
{
    constexpr std::size_t MAX_LENGTH = 255;
    constexpr std::wstring_view SIGNS = LR"(<>:"/\|?*)";
    const auto IsUnsafe = [&](wchar_t c) { return c < L' ' || SIGNS.find(c) != SIGNS.npos; };
    return sPart.size() <= MAX_LENGTH && sPart.find_first_not_of(L". ") != sPart.npos &&
           std::ranges::none_of(sPart, IsUnsafe) && !IsDevice(sPart);
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
    constexpr std::size_t MAX_LENGTH = 32'000; // Windows' own limit is some characters above
    constexpr std::ptrdiff_t MAX_DEPTH = 1'000;
    std::wstring sPath = FromUtf8(sTapeName);
    if (sPath.size() > MAX_LENGTH || std::ranges::count(sPath, L'/') > MAX_DEPTH)
        throw TapeError("its name is too long, or has too many folders");
    for (const std::wstring_view sPart : Parts(sPath))
        if (!IsSafePart(sPart))
            throw TapeError("Windows allows no file of this name");
    std::ranges::replace(sPath, L'/', L'\\');
    return sPath;
}

std::wstring CaseFolded(const std::string& sText) { return Upper(FromUtf8(sText)); }

Patterns::Patterns(const std::vector<std::string>& Given)
{
    for (const std::string& sGiven : Given)
    {
        std::wstring sFolded = CaseFolded(sGiven);
        std::ranges::replace(sFolded, L'\\', L'/');
        sFolded.erase(sFolded.find_last_not_of(L'/') + 1);
        const bool bWhole = sFolded.find(L'/') != sFolded.npos;
        m_All.push_back({.sGiven = sGiven, .sFolded = sFolded, .bWhole = bWhole});
    }
}

bool Patterns::Match(const std::string& sTapeName)
{
    const std::wstring sName = CaseFolded(sTapeName);
    bool bAny = false;
    for (std::size_t uiStart = 0, uiEnd = 0; uiEnd < sName.size(); uiStart = uiEnd + 1)
    {
        uiEnd = std::min(sName.find(L'/', uiStart), sName.size());
        for (Pattern& Each : m_All) // to the last one, since each must know whether it has matched anything
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

// The same for names that a file system may take for one.
std::size_t WrittenNames::Folded(std::wstring_view sPart)
{
    const auto iSize = static_cast<int>(sPart.size());
    std::wstring sFolded(sPart.size(), L'\0');
    sFolded.resize(
        static_cast<std::size_t>(FoldStringW(MAP_PRECOMPOSED, sPart.data(), iSize, sFolded.data(), iSize)));
    return std::hash<std::wstring>()(Upper(std::move(sFolded)));
}

bool WrittenNames::Meet(const std::string& sTapeName) const
{
    const std::wstring sName = FromUtf8(sTapeName);
    auto Here = m_Folders.begin();
    for (const std::wstring_view sPart : Parts(sName))
    {
        if (Here == m_Folders.end())
            return false;
        if (!Here->Names.contains(Folded(sPart)))
            return false;
        if (Here->sLast != sPart)
            return true;
        ++Here;
    }
    return true; // this very name
}

void WrittenNames::Add(const std::string& sTapeName)
{
    const std::wstring sName = FromUtf8(sTapeName);
    std::size_t uiDepth = 0;
    for (const std::wstring_view sPart : Parts(sName))
    {
        if (uiDepth == m_Folders.size())
            m_Folders.emplace_back();
        Folder& Here = m_Folders[uiDepth++];
        Here.Names.insert(Folded(sPart));
        if (Here.sLast != sPart)
            m_Folders.resize(uiDepth);
        m_Folders[uiDepth - 1].sLast = sPart;
    }
}
