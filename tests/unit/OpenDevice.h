#pragma once

#include "interface/FtpContext.h"
#include "interface/zdv.h"

// A device without a server, and the context that its handle is the address of.
class OpenDevice
{
public:
    OpenDevice() { ZDV_Open(&m_Handle); }
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;
    ~OpenDevice() { ZDV_Close(m_Handle); }

    operator ZDV_HANDLE() const { return m_Handle; }
    FtpContext& operator*() const { return *reinterpret_cast<FtpContext*>(m_Handle); }
    FtpContext* operator->() const { return &**this; }

private:
    ZDV_HANDLE m_Handle = 0;
};

// In the time zone that main sets.
inline constexpr std::int64_t T_2024 = 1710493205; // 15 March 2024, 14:30:05
inline constexpr std::int64_t T_2023 = 1672511400; // 1 January 2023, 00:00:00

// A scheme that libcurl refuses before it connects: a transfer fails where it would reach the server.
inline constexpr const wchar_t* REFUSED_SCHEME = L"nowhere://";
