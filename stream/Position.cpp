// ZDV_Position.
#include "interface/Category.h"
#include "interface/Export.h"
#include "stream/ObjectClose.h"
#include "stream/ReadData.h"
#include "stream/ResetMedia.h"

#include <utility>
#include <vector>

using quorvel::FunctionTrace;

namespace {

// The object number is kept, unlike at the beginning of media.
ZDV_STATUS Retension(FtpContext& FC, const FunctionTrace& Trace, std::int32_t)
{
    Trace.Verbose(L"ResetMedia");
    return ResetMedia(FC);
}

ZDV_STATUS BeginningOfMedia(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    const ZDV_STATUS uiRc = Retension(FC, Trace, iBlocks);
    FC.m_uiCurrentObject = 0;
    return uiRc;
}

ZDV_STATUS EndOfRecordedMedia(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    const ZDV_STATUS uiRc = Retension(FC, Trace, iBlocks);
    const std::size_t uiObjects = FC.m_AreaObjectList.size();
    Trace.At(L"pFC->m_uiCurrentObject").Number(L"pFC->m_AreaObjectList.size()", uiObjects);
    FC.m_uiCurrentObject = static_cast<std::uint32_t>(uiObjects);
    Trace.Number(L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    return uiRc;
}

// Reads the blocks and throws them away. Only a filemark stops it early. The first read may end an upload that has
// failed. The later reads would clear that failure, so it is kept for the host.
ZDV_STATUS SkipBlocks(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    Trace.Number(L"iBlocks", iBlocks);
    if (iBlocks < 0)
        return ZDV_FUNCTION_NOT_SUPPORTED;
    std::vector<char> aScratch(ZDV_BLOCK_SIZE);
    const bool bUpload = FC.m_bSendData && !FC.m_bFailureReported;
    const std::uint32_t uiObject = FC.m_uiCurrentObject; // kept by a read that ends a failed upload
    LastError EndedUpload;
    ZDV_STATUS uiRc = ZDV_SUCCESS;
    for (std::int32_t i = 0; i < iBlocks && uiRc != ZDV_FILEMARK_REACHED; ++i)
    {
        Trace.Verbose(L"ReadData");
        uiRc = ReadData(&FC, 1, aScratch.data());
        // Fixed by the interface: once more than the read has counted, also if it found no block.
        ++FC.m_uiCurrentBlock;
        if (i == 0 && bUpload && !FC.m_bSendData && FC.m_uiCurrentObject == uiObject)
            EndedUpload = TakeLastError(FC);
    }
    if (EndedUpload.m_dwLastError != ERROR_SUCCESS)
        FC.m_HostError = std::move(EndedUpload);
    FC.m_bAtFileMark = uiRc == ZDV_FILEMARK_REACHED;
    return uiRc;
}

// How much the object number changes for iBlocks filemarks. Passing the filemark of the current object does not change
// it, neither forward from the object's data nor backward from just past the filemark.
std::int32_t ObjectsPassed(bool bAtFileMark, std::int32_t iBlocks)
{
    if (iBlocks > 0 && !bAtFileMark)
        return iBlocks - 1;
    if (iBlocks < 0 && bAtFileMark)
        return iBlocks + 1;
    return iBlocks;
}

// The position may leave the recorded objects at either end. The next read then says so.
ZDV_STATUS SpaceFilemarks(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks)
{
    Trace.At(L"ZDV_Position(ZDV_SP_FFM)").Verbose(L"ObjectClose");
    ObjectClose(FC);
    Trace.Number(L"iBlocks", iBlocks);
    const std::int32_t iObjects = ObjectsPassed(FC.m_bAtFileMark, iBlocks);
    Trace.Verbose(L"pFC->m_uiCurrentObject += iBlocks");
    FC.m_uiCurrentObject += static_cast<std::uint32_t>(iObjects);
    Trace.Number(L"iBlocks", iObjects);
    Trace.Number(L"pFC->m_uiCurrentObject", FC.m_uiCurrentObject);
    // Forward ends just past a filemark, backward just before one, even if no object was passed.
    FC.m_bFileMarkPending = iBlocks < 0;
    FC.m_bAtFileMark = iBlocks >= 0;
    return ZDV_SUCCESS;
}

ZDV_STATUS GoTo(FtpContext&, const FunctionTrace& Trace, std::int32_t)
{
    Trace.Warning(L"ZDV_SP_GOTO - Not supported");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}

struct PositioningMode
{
    std::uint32_t uiCategory;
    const wchar_t* sName;
    ZDV_STATUS (*Move)(FtpContext& FC, const FunctionTrace& Trace, std::int32_t iBlocks);
};

constexpr PositioningMode MODES[] = {
    {ZDV_SP_RET, L"ZDV_SP_RET", Retension},
    {ZDV_SP_BOM, L"ZDV_SP_BOM", BeginningOfMedia},
    {ZDV_SP_EORM, L"ZDV_SP_EORM", EndOfRecordedMedia},
    {ZDV_SP_SKIP, L"ZDV_SP_SKIP", SkipBlocks},
    {ZDV_SP_GOTO, L"ZDV_SP_GOTO", GoTo},
    {ZDV_SP_FFM, L"ZDV_SP_FFM", SpaceFilemarks},
};

} // namespace

ZDV_STATUS ZDV_Position(ZDV_HANDLE handle, std::uint32_t uiCategory, std::int32_t iBlocks)
{
    // Log text fixed: two dots.
    const Export Names = {L"ZDV_Position", L".. ending"};
    return WithDevice(handle, Names, [&](FtpContext& FC, const FunctionTrace& Trace) {
        Trace.Number(L"uiCategory", uiCategory);
        const PositioningMode* const pMode = FindCategory(MODES, uiCategory);
        if (pMode == nullptr)
        {
            Trace.Warning(L"... ending(InvalidCategory)");
            return InvalidCategory(Trace, uiCategory);
        }
        Trace.Verbose(pMode->sName);
        return pMode->Move(FC, Trace, iBlocks);
    });
}
