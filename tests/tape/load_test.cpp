// A host may load and unload the module as often as it likes.
#include "tests/tape/Module.h"

#include <gtest/gtest.h>
#include <psapi.h>
#include <vector>

namespace {

constexpr SIZE_T NOISE = 512 * 1024; // bytes: what an allocator may keep or give back at any time

struct Resources
{
    DWORD dwHandles = 0;
    std::size_t uiFreeTlsIndices = 0;
    SIZE_T uiPrivateBytes = 0;
};

std::size_t FreeTlsIndices()
{
    std::vector<DWORD> aIndices;
    for (DWORD dwIndex = TlsAlloc(); dwIndex != TLS_OUT_OF_INDEXES; dwIndex = TlsAlloc())
        aIndices.push_back(dwIndex);
    for (const DWORD dwIndex : aIndices)
        TlsFree(dwIndex);
    return aIndices.size();
}

Resources Measure()
{
    Resources resources;
    PROCESS_MEMORY_COUNTERS_EX Memory{};
    GetProcessHandleCount(GetCurrentProcess(), &resources.dwHandles);
    resources.uiFreeTlsIndices = FreeTlsIndices();
    K32GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&Memory),
                            sizeof(Memory));
    resources.uiPrivateBytes = Memory.PrivateUsage;
    return resources;
}

void LoadOpenCloseUnload(int iCycles)
{
    for (int i = 0; i < iCycles; ++i)
    {
        const Module module;
        ZDV_HANDLE handle = 0;
        ASSERT_EQ(module.Open(&handle), ZDV_SUCCESS);
        ASSERT_EQ(module.Close(handle), ZDV_SUCCESS);
    }
}

} // namespace

TEST(Load, ThousandCyclesLeaveNothingBehind)
{
    ASSERT_NO_FATAL_FAILURE(LoadOpenCloseUnload(50)); // what the system itself keeps from first times
    const Resources Before = Measure();
    ASSERT_NO_FATAL_FAILURE(LoadOpenCloseUnload(950));
    const Resources After = Measure();
    EXPECT_EQ(GetModuleHandleW(L"ZDV_FTP.DLL"), nullptr) << "nothing pins the module";
    EXPECT_EQ(After.dwHandles, Before.dwHandles);
    EXPECT_EQ(After.uiFreeTlsIndices, Before.uiFreeTlsIndices);
    EXPECT_LT(After.uiPrivateBytes, Before.uiPrivateBytes + NOISE);
}
