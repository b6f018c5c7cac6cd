// Runs the tests under a watchdog: a test that hangs is named, and ends the program.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

constexpr DWORD LONGEST_TEST = 120000; // milliseconds

class Watchdog : public testing::EmptyTestEventListener
{
public:
    Watchdog() { CloseHandle(CreateThread(nullptr, 0, Watch, this, 0, nullptr)); }

    void OnTestStart(const testing::TestInfo& Test) override { Progress(&Test); }
    void OnTestEnd(const testing::TestInfo& Test) override { Progress(&Test); }

private:
    void Progress(const testing::TestInfo* pTest)
    {
        m_pTest = pTest;
        SetEvent(m_hProgress);
    }

    static DWORD WINAPI Watch(LPVOID pArgument)
    {
        const auto& Self = *static_cast<Watchdog*>(pArgument);
        while (WaitForSingleObject(Self.m_hProgress, LONGEST_TEST) == WAIT_OBJECT_0)
            continue;
        const testing::TestInfo* const pTest = Self.m_pTest;
        std::fprintf(stderr, "No progress in %s.%s\n", pTest != nullptr ? pTest->test_suite_name() : "start",
                     pTest != nullptr ? pTest->name() : "up");
        std::fflush(stderr);
        TerminateProcess(GetCurrentProcess(), 3);
        return 0;
    }

    std::atomic<const testing::TestInfo*> m_pTest = nullptr;
    const HANDLE m_hProgress = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

} // namespace

int main(int argc, char** argv)
{
    // Labels show local time: a zone that no other clock here runs in tells it from UTC on every machine.
    _putenv("TZ=TST-5:30");
    _tzset();
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
