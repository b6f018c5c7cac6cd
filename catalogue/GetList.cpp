// ZDV_GetList.
#include "catalogue/Version.h"
#include "interface/Category.h"
#include "interface/Export.h"

#include <cstddef>
#include <cstdlib>
#include <ctime>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

static_assert(offsetof(ZDV_LIST, pLast) == 8 && offsetof(ZDV_LIST, pFirst) == 16 &&
              offsetof(ZDV_LIST, pCurrent) == 24 && offsetof(ZDV_LIST, uiCount) == 32);
static_assert(offsetof(ZDV_LIST_NODE, pPrevious) == 8 && offsetof(ZDV_LIST_NODE, uiSize) == 16 &&
              offsetof(ZDV_LIST_NODE, Date) == 20 && sizeof(ZDV_VERSION_DATE) == 36);

bool IsList(const ZDV_LIST* pList) { return pList != nullptr && pList->uiSignature == ZDV_LIST_SIGNATURE; }

ZDV_VERSION_DATE ToVersionDate(const std::tm& Time)
{
    return {Time.tm_sec,  Time.tm_min,  Time.tm_hour, Time.tm_mday, Time.tm_mon,
            Time.tm_year, Time.tm_wday, Time.tm_yday, Time.tm_isdst};
}

// After the current node, or after the last one if none is current. The new node becomes the current one.
void Insert(ZDV_LIST& List, ZDV_LIST_NODE* pNode)
{
    ZDV_LIST_NODE* const pBefore = List.pCurrent != nullptr ? List.pCurrent : List.pLast;
    ZDV_LIST_NODE* const pAfter = pBefore != nullptr ? pBefore->pNext : nullptr;
    pNode->pPrevious = pBefore;
    pNode->pNext = pAfter;
    (pBefore != nullptr ? pBefore->pNext : List.pFirst) = pNode;
    (pAfter != nullptr ? pAfter->pPrevious : List.pLast) = pNode;
    List.pCurrent = pNode;
    ++List.uiCount;
}

void Append(ZDV_LIST* pList, const std::tm& Time)
{
    if (!IsList(pList) || (pList->uiFlags & ZDV_LIST_NO_ADDITIONS) != 0)
        return;
    // msvcrt.dll on both sides: the host releases the node with its free.
    auto* const pNode = static_cast<ZDV_LIST_NODE*>(std::calloc(1, ZDV_LIST_NODE_SIZE));
    if (pNode == nullptr)
        return;
    pNode->uiSize = sizeof(ZDV_VERSION_DATE);
    pNode->Date = ToVersionDate(Time);
    Insert(*pList, pNode);
}

void AppendVersion(const FunctionTrace& Trace, ZDV_LIST* pList, std::int64_t tVersion)
{
    std::tm Time{};
    if (const errno_t iError = _localtime64_s(&Time, &tVersion); iError != 0)
    {
        const FunctionTrace Invalid = Trace.At(L"Invalid date/time");
        Invalid.Text(Level::Error, L"sLabel", Version(tVersion).GetLabel());
        Invalid.Number(Level::Error, L"iError", iError);
        return;
    }
    Append(pList, Time);
}

void AppendVersions(const FtpContext& FC, const FunctionTrace& Trace, ZDV_LIST* pList)
{
    Trace.Verbose(L"ZDV_GL_VERSION_DATE");
    if (FC.m_VersionList.empty())
        Trace.Warning(L"No backup versions");
    for (const std::int64_t tVersion : FC.m_VersionList)
        AppendVersion(Trace, pList, tVersion);
    Trace.Number(L"uiListSize", IsList(pList) ? pList->uiCount : ZDV_INVALID_DATE);
}

} // namespace

ZDV_STATUS ZDV_GetList(ZDV_HANDLE handle, std::uint32_t uiCategory, ZDV_LIST* pList)
{
    return WithDevice(handle, {L"ZDV_GetList"},
                      [&](const FtpContext& FC, const FunctionTrace& Trace) -> Answer {
                          Trace.Number(L"uiCategory", uiCategory);
                          if (uiCategory != ZDV_GL_VERSION_DATE)
                          {
                              Trace.Warning(L"... ending(InvalidCategory)");
                              return Answer::WithoutEnding(InvalidCategory(Trace, uiCategory));
                          }
                          AppendVersions(FC, Trace, pList);
                          return ZDV_SUCCESS;
                      });
}
