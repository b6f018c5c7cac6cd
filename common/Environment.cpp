#include "common/Environment.h"

#include <windows.h>

namespace quorvel {

namespace {

constexpr DWORD PATH_BUFFER = 260; // characters

} // namespace

std::uint32_t EnvironmentCode()
{
    OSVERSIONINFOW Version{};
    Version.dwOSVersionInfoSize = sizeof(Version);
    const bool bVersion52 =
        GetVersionExW(&Version) && Version.dwMajorVersion == 5 && Version.dwMinorVersion == 2;
    return bVersion52 ? ENVIRONMENT_VERSION_5_2 : ENVIRONMENT_DEFAULT;
}

std::wstring ProgramFolder()
{
    std::wstring sPath(PATH_BUFFER, L'\0');
    DWORD dwLength = 0;
    while ((dwLength = GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size()))) ==
           sPath.size())
        sPath.resize(sPath.size() * 2);
    if (dwLength == 0)
        return L"X:\\Program Files\\Quorvel\\ZELT\\";
    return sPath.substr(0, sPath.find_last_of(L'\\', dwLength));
}

std::wstring SettingsFile() { return ProgramFolder() + L"\\zlt.ini"; }

} // namespace quorvel
