#include "tests/unit/OpenDevice.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HostList : public testing::Test
{
protected:
    ~HostList() override
    {
        while (ZDV_LIST_NODE* const pNode = m_List.pFirst)
        {
            m_List.pFirst = pNode->pNext;
            std::free(pNode);
        }
    }
    void Add(std::vector<std::int64_t> aVersions)
    {
        m_Device->m_VersionList = std::move(aVersions);
        EXPECT_EQ(ZDV_GetList(m_Device, ZDV_GL_VERSION_DATE, &m_List), ZDV_SUCCESS);
    }
    // Of the versions in the list, read both ways.
    std::vector<int> Years() const
    {
        std::vector<int> aForward, aBackward;
        for (const ZDV_LIST_NODE* pNode = m_List.pFirst; pNode != nullptr; pNode = pNode->pNext)
            aForward.push_back(pNode->Date.iYear + 1900);
        for (const ZDV_LIST_NODE* pNode = m_List.pLast; pNode != nullptr; pNode = pNode->pPrevious)
            aBackward.insert(aBackward.begin(), pNode->Date.iYear + 1900);
        EXPECT_EQ(aForward, aBackward);
        EXPECT_EQ(aForward.size(), m_List.uiCount);
        return aForward;
    }

    OpenDevice m_Device;
    ZDV_LIST m_List{ZDV_LIST_SIGNATURE, 0, 0, nullptr, nullptr, nullptr, 0};
};

} // namespace

TEST_F(HostList, ReceivesTheDatesAfterItsCurrentOrLastNode)
{
    Add({-1, T_2023, T_2024}); // the calendar has no -1
    EXPECT_THAT(Years(), ElementsAre(2023, 2024));
    EXPECT_EQ(m_List.pLast->uiSize, 36u);
    const ZDV_VERSION_DATE& Date = m_List.pLast->Date;
    EXPECT_THAT(
        (std::vector{Date.iSec, Date.iMin, Date.iHour, Date.iMday, Date.iMon, Date.iWday, Date.iYday}),
        ElementsAre(5, 30, 14, 15, 2, 5, 74));
    m_List.pCurrent = nullptr;
    Add({0});
    m_List.pCurrent = m_List.pFirst;
    Add({T_2023 - 40000000, T_2023 - 10000000});
    EXPECT_THAT(Years(), ElementsAre(2023, 2021, 2022, 2024, 1970));
}

TEST_F(HostList, IsLeftAloneUnlessItTakesAdditions)
{
    for (const auto& [uiSignature, uiFlags] : {std::pair(ZDV_LIST_SIGNATURE, 0xFFFF), {0x4C4D, 0}})
    {
        m_List.uiSignature = static_cast<std::uint16_t>(uiSignature);
        m_List.uiFlags = static_cast<std::uint16_t>(uiFlags);
        Add({T_2024});
        EXPECT_THAT(Years(), IsEmpty());
    }
    EXPECT_EQ(ZDV_GetList(m_Device, ZDV_GL_VERSION_DATE, nullptr), ZDV_SUCCESS);
    m_List.uiSignature = ZDV_LIST_SIGNATURE;
    m_List.uiFlags = 0xFFFE; // the other flags are the host's
    Add({T_2024});
    EXPECT_THAT(Years(), ElementsAre(2024));
}
