#include "host/TapeName.h"

#include "host/Utf8.h"

#include <algorithm>
#include <stdexcept>
#include <windows.h>

namespace {

constexpr std::size_t MAX_PART_LENGTH = 255;
constexpr wchar_t FIRST_PRINTABLE = L' ';

bool EqualIgnoringCase(std::wstring_view sLeft, std::wstring_view sRight)
{
    return CompareStringOrdinal(sLeft.data(), static_cast<int>(sLeft.size()), sRight.data(),
                                static_cast<int>(sRight.size()), TRUE) == CSTR_EQUAL;
}

// Such a name means a device in every folder, also with an extension: "nul", "COM1.txt".
bool IsDevice(std::wstring_view sPart)
{
    static constexpr std::wstring_view DEVICES[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
    static constexpr std::wstring_view NUMBERED[] = {L"COM", L"LPT"};
    constexpr std::wstring_view NUMBERS = L"123456789\u00B9\u00B2\u00B3";
    std::wstring_view sName = sPart.substr(0, sPart.find(L'.'));
    sName = sName.substr(0, sName.find_last_not_of(L' ') + 1);
    const bool bNumbered = sName.size() == 4 && NUMBERS.find(sName[3]) != NUMBERS.npos;
    const auto Names = [&](std::wstring_view sDevice) { return EqualIgnoringCase(sName, sDevice); };
    const auto NamesNumbered = [&](std::wstring_view sDevice) {
        return bNumbered && EqualIgnoringCase(sName.substr(0, 3), sDevice);
    };
    return std::ranges::any_of(DEVICES, Names) || std::ranges::any_of(NUMBERED, NamesNumbered);
}

// A trailing point covers "." and "..", a colon drives and alternate streams.
bool IsSafePart(std::wstring_view sPart)
{
    constexpr std::wstring_view FORBIDDEN = L"<>:\"/\\|?*";
    const auto IsForbidden = [&](wchar_t c) {
        return c < FIRST_PRINTABLE || FORBIDDEN.find(c) != FORBIDDEN.npos;
    };
    return !sPart.empty() && sPart.size() <= MAX_PART_LENGTH && sPart.back() != L'.' &&
           sPart.back() != L' ' && std::ranges::none_of(sPart, IsForbidden) && !IsDevice(sPart);
}

} // namespace

std::string TapeName(std::wstring_view sRelativePath)
{
    std::string sName = ToUtf8(sRelativePath);
    std::ranges::replace(sName, '\\', '/');
    return sName;
}

std::wstring RelativePath(const std::string& sTapeName)
{
    const std::wstring sWide = FromUtf8(sTapeName);
    std::wstring sPath;
    for (std::size_t uiStart = 0; uiStart <= sWide.size();)
    {
        const std::size_t uiEnd = std::min(sWide.find(L'/', uiStart), sWide.size());
        const std::wstring_view sPart = std::wstring_view(sWide).substr(uiStart, uiEnd - uiStart);
        if (!IsSafePart(sPart))
            throw std::runtime_error("\"" + sTapeName + "\" is not a name for a file on Windows");
        sPath.append(sPath.empty() ? L"" : L"\\").append(sPart);
        uiStart = uiEnd + 1;
    }
    return sPath;
}
