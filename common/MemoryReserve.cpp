#include "common/MemoryReserve.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace quorvel {

namespace {

constexpr std::size_t RESERVE = 16 * 1024; // bytes

std::atomic<void*> g_pReserve = nullptr;

void OutOfMemory()
{
    ReleaseMemoryReserve();
    throw std::bad_alloc();
}

} // namespace

void KeepMemoryReserve() noexcept
{
    if (g_pReserve != nullptr)
        return;
    std::free(g_pReserve.exchange(std::malloc(RESERVE)));
    std::set_new_handler(OutOfMemory);
}

void ReleaseMemoryReserve() noexcept { std::free(g_pReserve.exchange(nullptr)); }

} // namespace quorvel
