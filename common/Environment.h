// Facts about the system and the host's program.
#pragma once

#include <cstdint>
#include <string>

namespace quorvel {

inline constexpr std::uint32_t ENVIRONMENT_DEFAULT = 1;
inline constexpr std::uint32_t ENVIRONMENT_VERSION_5_2 = 20; // restores from drive Z

// The operating-system code: ENVIRONMENT_VERSION_5_2 on systems of version 5.2.
std::uint32_t EnvironmentCode();

// The folder of the host process's executable, without a trailing separator (the fallback has one).
std::wstring ProgramFolder();

// The product's settings file, which is in that folder.
std::wstring SettingsFile();

} // namespace quorvel
