// A host may load and unload the module as often as it likes.
#include "tests/tape/Module.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr std::size_t NOISE = 64 * 1024; // bytes: what the system itself allocates now and then

struct Resources
{
    DWORD dwHandles = 0;
    std::size_t uiFreeTlsIndices = 0;
    std::size_t uiHeapBytes = 0;
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

std::size_t BytesInUse(HANDLE hHeap)
{
    std::size_t uiBytes = 0;
    PROCESS_HEAP_ENTRY Entry{};
    HeapLock(hHeap);
    while (HeapWalk(hHeap, &Entry))
        if ((Entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            uiBytes += Entry.cbData;
    HeapUnlock(hHeap);
    return uiBytes;
}

std::size_t HeapBytes()
{
    HANDLE aHeaps[64];
    const DWORD dwHeaps = GetProcessHeaps(static_cast<DWORD>(std::size(aHeaps)), aHeaps);
    std::size_t uiBytes = 0;
    for (DWORD i = 0; i < dwHeaps && i < std::size(aHeaps); ++i)
        uiBytes += BytesInUse(aHeaps[i]);
    return uiBytes;
}

Resources Measure()
{
    Resources resources;
    GetProcessHandleCount(GetCurrentProcess(), &resources.dwHandles);
    resources.uiFreeTlsIndices = FreeTlsIndices();
    resources.uiHeapBytes = HeapBytes();
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
    EXPECT_LT(After.uiHeapBytes, Before.uiHeapBytes + NOISE);
}
