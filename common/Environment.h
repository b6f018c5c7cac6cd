// What the trace log needs to know of the system it runs on.
#pragma once

#include <cstdint>

namespace quorvel {

inline constexpr std::uint32_t ENVIRONMENT_DEFAULT = 1;
inline constexpr std::uint32_t ENVIRONMENT_VERSION_5_2 = 20; // restores from drive Z

// The operating-system code: ENVIRONMENT_VERSION_5_2 on systems of version 5.2.
std::uint32_t EnvironmentCode();

} // namespace quorvel
