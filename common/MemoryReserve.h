// Memory kept for the moment when there is none. The first exception of a thread needs some, and the C++ runtime
// ends the process, which is the host's, when it gets none.
#pragma once

namespace quorvel {

// Fills the reserve, if there is memory and none is kept.
void KeepMemoryReserve() noexcept;
void ReleaseMemoryReserve() noexcept;

} // namespace quorvel
