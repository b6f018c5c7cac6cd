// A host may load and unload the module as often as it likes.
#include "interface/Module.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr std::size_t NOISE = 64 * 1024; // bytes: what the system itself allocates now and then

// One row of the system's list of open handles.
struct HandleEntry
{
    void* pObject;
    ULONG_PTR uiProcess;
    ULONG_PTR uiHandle;
    ULONG ulAccess;
    USHORT aOther[4];
    ULONG ulReserved;
};

// Counted in the system's list, because Wine's GetProcessHandleCount always answers 0.
std::ptrdiff_t OpenHandles()
{
    constexpr int ALL_HANDLES = 64; // SystemExtendedHandleInformation
    const auto NtQuerySystemInformation = reinterpret_cast<LONG(NTAPI*)(int, void*, ULONG, ULONG*)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    constexpr auto TOO_SHORT = static_cast<LONG>(0xC0000004); // STATUS_INFO_LENGTH_MISMATCH
    std::vector<ULONG_PTR> aList(16);
    LONG lStatus = TOO_SHORT;
    while (lStatus == TOO_SHORT)
    {
        aList.resize(2 * aList.size());
        ULONG ulSize = 0;
        lStatus = NtQuerySystemInformation(ALL_HANDLES, aList.data(),
                                           static_cast<ULONG>(aList.size() * sizeof(ULONG_PTR)), &ulSize);
    }
    if (lStatus != 0)
        throw std::runtime_error("the system does not list its handles");
    const auto* const pEntries = reinterpret_cast<const HandleEntry*>(aList.data() + 2);
    return std::count_if(pEntries, pEntries + aList[0],
                         [](const HandleEntry& Entry) { return Entry.uiProcess == GetCurrentProcessId(); });
}

std::size_t FreeTlsIndices()
{
    std::vector<DWORD> aIndices;
    for (DWORD dwIndex = TlsAlloc(); dwIndex != TLS_OUT_OF_INDEXES; dwIndex = TlsAlloc())
        aIndices.push_back(dwIndex);
    for (const DWORD dwIndex : aIndices)
        TlsFree(dwIndex);
    return aIndices.size();
}

std::size_t HeapBytes()
{
    HANDLE aHeaps[64];
    const DWORD dwHeaps = GetProcessHeaps(static_cast<DWORD>(std::size(aHeaps)), aHeaps);
    std::size_t uiBytes = 0;
    for (DWORD i = 0; i < dwHeaps && i < std::size(aHeaps); ++i)
    {
        HeapLock(aHeaps[i]);
        for (PROCESS_HEAP_ENTRY Entry{}; HeapWalk(aHeaps[i], &Entry);)
            uiBytes += (Entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? Entry.cbData : 0;
        HeapUnlock(aHeaps[i]);
    }
    return uiBytes;
}

void LoadOpenCloseUnload(int iCycles)
{
    for (int i = 0; i < iCycles; ++i)
    {
        const Module module(LoadLibraryW(L"ZDV_FTP.DLL"));
        ZDV_HANDLE handle = 0;
        ASSERT_EQ(module.Open(&handle), ZDV_SUCCESS);
        ASSERT_EQ(module.Close(handle), ZDV_SUCCESS);
    }
}

} // namespace

TEST(Load, ThousandCyclesLeaveNothingBehind)
{
    // First what the system itself allocates only once. Wine 10's heap grows for some hundred loads.
    ASSERT_NO_FATAL_FAILURE(LoadOpenCloseUnload(1000));
    const std::ptrdiff_t iHandles = OpenHandles();
    const std::size_t uiFreeTlsIndices = FreeTlsIndices();
    const std::size_t uiHeapBytes = HeapBytes();
    ASSERT_NO_FATAL_FAILURE(LoadOpenCloseUnload(1000));
    EXPECT_GT(iHandles, 0);
    EXPECT_EQ(GetModuleHandleW(L"ZDV_FTP.DLL"), nullptr) << "nothing pins the module";
    EXPECT_EQ(OpenHandles(), iHandles);
    EXPECT_EQ(FreeTlsIndices(), uiFreeTlsIndices);
    EXPECT_LT(HeapBytes(), uiHeapBytes + NOISE);
}
