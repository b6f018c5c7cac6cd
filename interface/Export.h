// What every export does first and last: test the handle, keep exceptions inside, trace beginning and end.
#pragma once

#include "common/FunctionTrace.h"
#include "common/MemoryReserve.h"
#include "device/LastError.h"
#include "interface/FtpContext.h"
#include "interface/zdv.h"

// The last line of an export: the status under its ending.
inline ZDV_STATUS Ended(const quorvel::FunctionTrace& Trace, ZDV_STATUS uiRc,
                        const wchar_t* sEnding = quorvel::ENDING)
{
    Trace.At(sEnding).Status(uiRc);
    return uiRc;
}

// Runs an export's body(const FunctionTrace&). An exception must not reach the host: it becomes uiFailure.
template <typename Body>
ZDV_STATUS Guarded(const wchar_t* sFunction, ZDV_STATUS uiFailure, const Body& body) noexcept
{
    quorvel::KeepMemoryReserve();
    const quorvel::FunctionTrace Trace(sFunction);
    try
    {
        return body(Trace);
    }
    catch (...)
    {
        Trace.Exception();
        return uiFailure;
    }
}

// The name of an export that takes a handle, and its ending.
struct Export
{
    const wchar_t* sName;
    const wchar_t* sEnding = quorvel::ENDING;
};

// What such an export's body answers, and whether the export's ending line follows.
struct Answer
{
    Answer(ZDV_STATUS uiStatus, bool bEndingFollows = true) : uiRc(uiStatus), bEnding(bEndingFollows) {}
    static Answer WithoutEnding(ZDV_STATUS uiStatus) { return {uiStatus, false}; }

    ZDV_STATUS uiRc;
    bool bEnding;
};

// The entry of every export that takes a handle. body(FtpContext&, const FunctionTrace&) runs only with a device.
template <typename Body>
ZDV_STATUS WithDevice(ZDV_HANDLE handle, const Export& Names, const Body& body) noexcept
{
    return Guarded(Names.sName, ZDV_DEVICE_ERROR, [&](const quorvel::FunctionTrace& Trace) {
        auto* const pFC = reinterpret_cast<FtpContext*>(handle);
        if (pFC == nullptr)
        {
            Trace.Error(L"... ending(Bad handle)");
            return ZDV_INVALID_HANDLE;
        }
        Trace.Starting();
        try
        {
            const Answer Given = body(*pFC, Trace);
            return Given.bEnding ? Ended(Trace, Given.uiRc, Names.sEnding) : Given.uiRc;
        }
        catch (...)
        {
            if (!WorkerRuns(*pFC))
                StoreFailure(*pFC, ExceptionFailure());
            throw;
        }
    });
}

// The arguments of an export that copies a text into, or takes one from, a buffer of uiSize.
inline void TraceArguments(const quorvel::FunctionTrace& Trace, std::uint32_t uiCategory,
                           std::uint32_t uiSize)
{
    Trace.Number(L"uiCategory", uiCategory);
    Trace.Number(L"uiSize", uiSize);
}
