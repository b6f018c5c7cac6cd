// ZDV_Position.
#include "interface/Entry.h"
#include "interface/InvalidCategory.h"
#include "stream/ObjectClose.h"
#include "stream/ReadData.h"
#include "stream/ResetMedia.h"

#include <vector>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

ZDV_STATUS Reset(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"ResetMedia");
    return ResetMedia(&FC);
}

// The object number is kept, unlike at the beginning of media: hosts use this to see what another device has
// changed on the server, and go on where they are.
ZDV_STATUS Retension(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"ZDV_SP_RET");
    return Reset(FC, Trace);
}

ZDV_STATUS BeginningOfMedia(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"ZDV_SP_BOM");
    const ZDV_STATUS uiRc = Reset(FC, Trace);
    FC.m_uiCurrentBlock = 0;
    FC.m_uiCurrentObject = 0;
    FC.m_ullBytesRead = 0;
    FC.m_ullBytesWritten = 0;
    return uiRc;
}

ZDV_STATUS EndOfRecordedMedia(FtpContext& FC, const FunctionTrace& Trace)
{
    Trace.Verbose(L"ZDV_SP_EORM");
    const ZDV_STATUS uiRc = Reset(FC, Trace);
    const std::size_t uiObjects = FC.m_AreaObjectList.size();
    FunctionTrace(L"ZDV_Position : pFC->m_uiCurrentObject")
        .Number(Level::Verbose, L"pFC->m_AreaObjectList.size()", std::uint64_t{uiObjects});
    FC.m_uiCurrentObject = static_cast<std::uint32_t>(uiObjects);
    Trace.Number(Level::Verbose, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    FC.m_bAtFileMark = true;
    return uiRc;
}

// Reads the blocks and throws them away. Only a filemark stops it early.
ZDV_STATUS ReadPast(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    std::vector<char> aScratch(ZDV_BLOCK_SIZE);
    ZDV_STATUS uiRc = ZDV_SUCCESS;
    for (std::int32_t i = 0; i < iBlocks && uiRc != ZDV_FILEMARK_REACHED; ++i)
    {
        Trace.Verbose(L"ReadData");
        uiRc = ReadData(&FC, 1, aScratch.data());
        // On top of what the read itself counts, also when no block was there: hosts know the number of a
        // position reached by skipping as twice its distance.
        ++FC.m_uiCurrentBlock;
    }
    return uiRc;
}

ZDV_STATUS SkipBlocks(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    Trace.Verbose(L"ZDV_SP_SKIP");
    Trace.Number(Level::Verbose, L"iBlocks", iBlocks);
    if (iBlocks < 0)
        return ZDV_FUNCTION_NOT_SUPPORTED;
    const ZDV_STATUS uiRc = ReadPast(FC, Trace, iBlocks);
    FC.m_bAtFileMark = uiRc == ZDV_FILEMARK_REACHED;
    return uiRc;
}

// The object numbers that a request of iBlocks filemarks passes: in the data of an object the first filemark
// forward is its own end, and just past a filemark the first one back is that one.
std::int32_t ObjectsPassed(FtpContext& FC, std::int32_t iBlocks)
{
    if (iBlocks > 0)
    {
        FC.m_bFileMarkPending = false;
        return FC.m_bAtFileMark ? iBlocks : iBlocks - 1;
    }
    if (iBlocks < 0 && FC.m_bAtFileMark)
    {
        FC.m_bAtFileMark = false;
        return iBlocks + 1;
    }
    return iBlocks;
}

// Not compared with the recorded objects: hosts may space beyond either end, and the next read tells them.
ZDV_STATUS SpaceFilemarks(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    Trace.Verbose(L"ZDV_SP_FFM");
    FunctionTrace(L"ZDV_Position : ZDV_Position(ZDV_SP_FFM)").Verbose(L"ObjectClose");
    ObjectClose(&FC);
    Trace.Number(Level::Verbose, L"iBlocks", iBlocks);
    const std::int32_t iObjects = ObjectsPassed(FC, iBlocks);
    Trace.Verbose(L"pFC->m_uiCurrentObject += iBlocks");
    FC.m_uiCurrentObject += static_cast<std::uint32_t>(iObjects);
    Trace.Number(Level::Verbose, L"iBlocks", iObjects);
    Trace.Number(Level::Verbose, L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    // Forward ends just past a filemark, backward just before one, whatever was left to pass of the request.
    FC.m_bFileMarkPending = iBlocks < 0;
    FC.m_bAtFileMark = iBlocks >= 0;
    return ZDV_SUCCESS;
}

ZDV_STATUS Position(FtpContext& FC, const FunctionTrace& Trace, std::uint32_t uiCategory,
                    std::int32_t iBlocks)
{
    switch (uiCategory)
    {
    case ZDV_SP_RET:
        return Retension(FC, Trace);
    case ZDV_SP_BOM:
        return BeginningOfMedia(FC, Trace);
    case ZDV_SP_EORM:
        return EndOfRecordedMedia(FC, Trace);
    case ZDV_SP_SKIP:
        return SkipBlocks(FC, Trace, iBlocks);
    case ZDV_SP_GOTO:
        Trace.Verbose(L"ZDV_SP_GOTO");
        Trace.Warning(L"ZDV_SP_GOTO - Not supported");
        return ZDV_FUNCTION_NOT_SUPPORTED;
    case ZDV_SP_FFM:
        return SpaceFilemarks(FC, Trace, iBlocks);
    default:
        Trace.Warning(L"... ending(InvalidCategory)");
        return InvalidCategory("ZDV_Position", uiCategory);
    }
}

} // namespace

ZDV_STATUS ZDV_Position(ZDV_HANDLE handle, std::uint32_t uiCategory, std::int32_t iBlocks)
{
    return WithDevice(handle, L"ZDV_Position", [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Starting();
        Trace.Number(Level::Verbose, L"uiCategory", uiCategory);
        // Two dots, as hosts' log filters look for them.
        return Ended(L"ZDV_Position : .. ending", Position(FC, Trace, uiCategory, iBlocks));
    });
}
