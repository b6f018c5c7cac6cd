#include "common/Environment.h"

#include <windows.h>

namespace quorvel {

std::uint32_t EnvironmentCode()
{
    OSVERSIONINFOW Version{};
    Version.dwOSVersionInfoSize = sizeof(Version);
    const bool bVersion52 =
        GetVersionExW(&Version) && Version.dwMajorVersion == 5 && Version.dwMinorVersion == 2;
    return bVersion52 ? ENVIRONMENT_VERSION_5_2 : ENVIRONMENT_DEFAULT;
}

} // namespace quorvel
