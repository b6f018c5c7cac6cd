// Memory kept for the moment when there is none left. The first exception of a thread needs some, and if it gets none,
// the C++ runtime ends the process, which is the host's.
#pragma once

namespace quorvel {

// Fills the reserve if it is empty and there is memory.
void KeepMemoryReserve() noexcept;
void ReleaseMemoryReserve() noexcept;

} // namespace quorvel
