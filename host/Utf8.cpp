#include "host/Utf8.h"

#include <windows.h>

std::string ToUtf8(std::wstring_view sText)
{
    const int iLength = static_cast<int>(sText.size());
    const int iBytes = WideCharToMultiByte(CP_UTF8, 0, sText.data(), iLength, nullptr, 0, nullptr, nullptr);
    std::string sUtf8(static_cast<std::size_t>(iBytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, sText.data(), iLength, sUtf8.data(), iBytes, nullptr, nullptr);
    return sUtf8;
}

std::wstring FromUtf8(std::string_view sText)
{
    const int iBytes = static_cast<int>(sText.size());
    const int iLength = MultiByteToWideChar(CP_UTF8, 0, sText.data(), iBytes, nullptr, 0);
    std::wstring sWide(static_cast<std::size_t>(iLength), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, sText.data(), iBytes, sWide.data(), iLength);
    return sWide;
}
