// What every export does first and last: test the handle, keep exceptions inside, trace the status.
#pragma once

#include "common/FunctionTrace.h"
#include "common/MemoryReserve.h"
#include "interface/FtpContext.h"
#include "interface/LastError.h"
#include "interface/zdv.h"

// Traces the exception being handled. Call it in a catch block only.
void TraceException(const wchar_t* sFunction) noexcept;

// Runs an export's body and turns an exception into uiFailure: none may cross into the host.
template <typename Body>
ZDV_STATUS Guarded(const wchar_t* sFunction, ZDV_STATUS uiFailure, const Body& body) noexcept
{
    quorvel::KeepMemoryReserve();
    try
    {
        return body();
    }
    catch (...)
    {
        TraceException(sFunction);
        return uiFailure;
    }
}

// The entry of every export that takes a handle: body(FtpContext&, const FunctionTrace&) runs only with a
// device behind the handle.
template <typename Body>
ZDV_STATUS WithDevice(ZDV_HANDLE handle, const wchar_t* sFunction, const Body& body) noexcept
{
    return Guarded(sFunction, ZDV_DEVICE_ERROR, [&]() -> ZDV_STATUS {
        const quorvel::FunctionTrace Trace(sFunction);
        auto* const pFC = reinterpret_cast<FtpContext*>(handle);
        if (pFC == nullptr)
        {
            Trace.Error(L"... ending(Bad handle)");
            return ZDV_INVALID_HANDLE;
        }
        try
        {
            return body(*pFC, Trace);
        }
        catch (...)
        {
            StoreLastError(*pFC, ExceptionFailure());
            throw;
        }
    });
}

// The first lines of an export that copies a text into, or takes one from, a buffer of uiSize.
inline void TraceArguments(const quorvel::FunctionTrace& Trace, std::uint32_t uiCategory,
                           std::uint32_t uiSize)
{
    Trace.Starting();
    Trace.Number(quorvel::Level::Verbose, L"uiCategory", uiCategory);
    Trace.Number(quorvel::Level::Verbose, L"uiSize", uiSize);
}

// The last line of an export: the status under the composite name sEnding.
inline ZDV_STATUS Ended(const wchar_t* sEnding, ZDV_STATUS uiRc)
{
    quorvel::FunctionTrace(sEnding).Status(uiRc);
    return uiRc;
}
