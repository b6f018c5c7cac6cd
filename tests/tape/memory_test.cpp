// A host that runs out of memory: no call crashes, hangs or hides it, and all works again when there is memory.
// tests/CMakeLists.txt limits the memory of this program.
#include "tests/tape/Server.h"
#include "tests/tape/Tape.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// Takes all memory of the process but one piece.
class Shortage
{
public:
    explicit Shortage(std::size_t uiLeft)
    {
        // Not malloc, which the compiler may leave out with its free. The heap is the same.
        void* const pLeft = HeapAlloc(GetProcessHeap(), 0, uiLeft);
        for (std::size_t uiSize = std::size_t{1} << 20; uiSize >= sizeof(void*); uiSize /= 2)
            while (auto* const pBlock = static_cast<void**>(std::malloc(uiSize)))
            {
                *pBlock = m_pTaken;
                m_pTaken = pBlock;
            }
        HeapFree(GetProcessHeap(), 0, pLeft);
    }
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
    ~Shortage()
    {
        while (m_pTaken != nullptr)
        {
            auto* const pBlock = static_cast<void**>(m_pTaken);
            m_pTaken = *pBlock;
            std::free(pBlock);
        }
    }

private:
    void* m_pTaken = nullptr; // each block begins with the address of the one taken before it
};

// Statuses and errors are compared when there is memory again, because comparing takes some, too.
struct Outcome
{
    ZDV_STATUS uiRc;
    std::uint32_t uiError;
};

template <typename Call> Outcome WithLittleMemory(Tape& tape, std::size_t uiLeft, const Call& call)
{
    const Shortage Few(uiLeft);
    const ZDV_STATUS uiRc = call();
    return {uiRc, tape.ErrorCode()};
}

} // namespace

TEST(Memory, ThatIsShortIsTheReason)
{
    const Blocks aObject = SomeBlocks(40, 41);
    Tape tape(server::Root(L"memory"));
    ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
    const Blocks aHeader = SomeBlocks(1, 42);
    for (const Blocks* const pObject : {&aHeader, &aObject, &aObject})
        ASSERT_EQ(tape.WriteObject(*pObject), ZDV_SUCCESS) << tape.ErrorText();
    const auto ListAgain = [&] {
        tape.AskForBackup(L"none");
        EXPECT_EQ(tape.Position(ZDV_SP_BOM), ZDV_DEVICE_ERROR); // leaves an error
        tape.AskForBackup(L"");
        ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
        EXPECT_EQ(tape.Versions().size(), 1u);
        ASSERT_EQ(tape.Position(ZDV_SP_BOM), ZDV_SUCCESS) << tape.ErrorText();
        ASSERT_EQ(tape.Position(ZDV_SP_FFM, 2), ZDV_SUCCESS);
    };

    ASSERT_NO_FATAL_FAILURE(ListAgain());

    // An export and all that it calls: with each amount the memory ends at another place.
    int iFailed = 0;
    std::size_t uiLeft = 16; // bytes
    for (Outcome Listed{ZDV_DEVICE_ERROR, 0}; Listed.uiRc != ZDV_SUCCESS; uiLeft += uiLeft / 2)
    {
        Listed = WithLittleMemory(tape, uiLeft, [&] { return tape.Position(ZDV_SP_BOM); });
        if (Listed.uiRc != ZDV_SUCCESS)
        {
            EXPECT_EQ(Listed.uiRc, ZDV_DEVICE_ERROR);
            EXPECT_TRUE(Listed.uiError == 8 || Listed.uiError == 27) << uiLeft << ": " << Listed.uiError;
            ++iFailed;
            ASSERT_EQ(tape.MakeReady(), ZDV_SUCCESS) << tape.ErrorText();
            Blocks aRead;
            ASSERT_EQ(tape.Read(1, aRead), ZDV_SUCCESS) << tape.ErrorText();
            EXPECT_TRUE(aRead == aHeader) << uiLeft << ": it was not the beginning of the medium";
        }
        ASSERT_NO_FATAL_FAILURE(ListAgain());
    }
    EXPECT_GT(iFailed, 10);

    // A worker and its callbacks, which have the end of a download still to deal with.
    Blocks aFirst(ZDV_BLOCK_SIZE), aRest(aObject.size());
    ASSERT_EQ(tape.Fill(aFirst), ZDV_SUCCESS) << tape.ErrorText();
    const Outcome Ended = WithLittleMemory(tape, 16, [&] { return tape.Fill(aRest); });
    EXPECT_EQ(Ended.uiRc, ZDV_FILEMARK_REACHED);
    // Wine 10's heap keeps pieces for each thread. They can be enough for the worker, and then the object is whole.
    const bool bWhole = std::equal(aObject.begin() + ZDV_BLOCK_SIZE, aObject.end(), aRest.begin());
    EXPECT_TRUE(Ended.uiError == 8 || Ended.uiError == 27 || (Ended.uiError == 0 && bWhole)) << Ended.uiError;
    ASSERT_NO_FATAL_FAILURE(ListAgain());
    ASSERT_EQ(tape.Fill(aRest), ZDV_SUCCESS) << tape.ErrorText();
    EXPECT_TRUE(aRest == aObject);
}
