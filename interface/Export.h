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

// Runs an export's body(const FunctionTrace&) and turns an exception into uiFailure: none may cross into the
// host.
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

// What such an export's body answers. No ending line follows one that the body has ended by itself.
struct Answer
{
    Answer(ZDV_STATUS uiStatus, bool bIsEnded = false) : uiRc(uiStatus), bEnded(bIsEnded) {}

    ZDV_STATUS uiRc;
    bool bEnded;
};

// The entry of every export that takes a handle: body(FtpContext&, const FunctionTrace&) runs only with a
// device behind the handle.
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
            return Given.bEnded ? Given.uiRc : Ended(Trace, Given.uiRc, Names.sEnding);
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
