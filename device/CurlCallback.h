#pragma once

#include "common/FunctionTrace.h"

#include <cstddef>

// What a libcurl callback returns to abort the transfer.
inline constexpr std::size_t ABORT_TRANSFER = static_cast<std::size_t>(-1);

// The body of a libcurl callback: no exception may cross libcurl.
template <typename Body> std::size_t GuardedCallback(const wchar_t* sFunction, const Body& body) noexcept
{
    const quorvel::FunctionTrace Trace(sFunction);
    try
    {
        Trace.Starting();
        return body(Trace);
    }
    catch (...)
    {
        Trace.Exception();
        return ABORT_TRANSFER;
    }
}
