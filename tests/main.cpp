// Runs the tests. One that hangs or crashes ends the program, which says where: under Wine a crash alone may
// end it with 0.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

constexpr DWORD LONGEST_TEST = 300000; // milliseconds

std::atomic<const char*> g_sSuite = "start", g_sTest = "up";

void EndProgram(const char* sReason)
{
    std::fprintf(stderr, "%s in %s.%s\n", sReason, g_sSuite.load(), g_sTest.load());
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
}

LONG WINAPI Crashed(EXCEPTION_POINTERS*)
{
    EndProgram("Crashed");
    return EXCEPTION_EXECUTE_HANDLER;
}

class Watchdog : public testing::EmptyTestEventListener
{
public:
    Watchdog() { CloseHandle(CreateThread(nullptr, 0, Watch, m_hProgress, 0, nullptr)); }

    void OnTestStart(const testing::TestInfo& Test) override
    {
        g_sSuite = Test.test_suite_name();
        g_sTest = Test.name();
        SetEvent(m_hProgress);
    }

private:
    static DWORD WINAPI Watch(LPVOID hProgress)
    {
        while (WaitForSingleObject(hProgress, LONGEST_TEST) == WAIT_OBJECT_0)
            continue;
        EndProgram("No progress");
        return 0;
    }

    const HANDLE m_hProgress = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

} // namespace

int main(int argc, char** argv)
{
    SetUnhandledExceptionFilter(Crashed);
    // Labels show local time: a zone that no other clock here runs in tells it from UTC on every machine.
    _putenv("TZ=TST-5:30");
    _tzset();
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    const int iResult = RUN_ALL_TESTS();
    if (testing::UnitTest::GetInstance()->test_to_run_count() != 0)
        return iResult;
    std::fprintf(stderr, "The filter matches no test\n");
    return 1;
}
