#include "host/FtpTls.h"

#include "host/Console.h"

#include <algorithm>
#include <array>
#include <memory>
#include <winsock2.h>
#include <ws2tcpip.h>

namespace {

// However slowly or endlessly the server answers, this takes 10 s in all and 64 KiB for each reply at most.
class ControlConnection
{
public:
    ControlConnection()
    {
        WSADATA Data{};
        WSAStartup(MAKEWORD(2, 2), &Data);
    }
    ControlConnection(const ControlConnection&) = delete;
    ControlConnection& operator=(const ControlConnection&) = delete;
    ~ControlConnection()
    {
        Close();
        WSACleanup();
    }

    void Open(const Server& Target)
    {
        std::string sName = Target.sName;
        std::erase_if(sName, [](char c) { return c == '[' || c == ']'; }); // around an IPv6 address
        addrinfo Hints{};
        Hints.ai_socktype = SOCK_STREAM;
        addrinfo* pFound = nullptr;
        if (getaddrinfo(sName.c_str(), std::to_string(Target.uiPort).c_str(), &Hints, &pFound) != 0)
            return;
        const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> Found(pFound, freeaddrinfo);
        for (const addrinfo* p = pFound; p != nullptr && m_hSocket == INVALID_SOCKET; p = p->ai_next)
        {
            m_hSocket = socket(p->ai_family, p->ai_socktype, p->ai_protocol);
            u_long uiNonBlocking = 1;
            ioctlsocket(m_hSocket, static_cast<long>(FIONBIO), &uiNonBlocking);
            if (connect(m_hSocket, p->ai_addr, static_cast<int>(p->ai_addrlen)) != 0 &&
                !Wait(Until::Connected))
                Close();
        }
    }

    // The code of the next reply, whose last line begins with the code and a blank. Empty if there is no reply.
    std::string ReplyCode()
    {
        constexpr std::size_t MAX_SIZE = 65536;
        std::string sLine;
        char c = 0;
        for (std::size_t uiSize = 0;
             uiSize < MAX_SIZE && Wait(Until::Readable) && recv(m_hSocket, &c, 1, 0) == 1; ++uiSize)
        {
            if (c == '\n' && sLine.find_first_not_of("0123456789") == 3 && sLine[3] == ' ')
                return sLine.substr(0, 3);
            c == '\n' ? sLine.clear() : sLine.push_back(c);
        }
        return {};
    }

    std::string Ask(std::string_view sRequest)
    {
        const auto iSize = static_cast<int>(sRequest.size());
        return send(m_hSocket, sRequest.data(), iSize, 0) == iSize ? ReplyCode() : "";
    }

private:
    enum class Until
    {
        Connected,
        Readable
    };

    // False when it fails, or does not happen before the deadline. Throws Interrupted.
    bool Wait(Until enUntil)
    {
        while (m_hSocket != INVALID_SOCKET && GetTickCount64() < m_uiDeadline)
        {
            CheckInterrupt();
            fd_set Ready{};
            fd_set Failed{};
            FD_SET(m_hSocket, &Ready);
            FD_SET(m_hSocket, &Failed);
            timeval Slice{.tv_sec = 0, .tv_usec = 200'000};
            const bool bRead = enUntil == Until::Readable;
            if (select(0, bRead ? &Ready : nullptr, bRead ? nullptr : &Ready, &Failed, &Slice) != 0)
                return FD_ISSET(m_hSocket, &Ready) && !FD_ISSET(m_hSocket, &Failed);
        }
        return false;
    }

    void Close()
    {
        if (m_hSocket != INVALID_SOCKET)
            closesocket(m_hSocket);
        m_hSocket = INVALID_SOCKET;
    }

    static constexpr ULONGLONG TIMEOUT_MS = 10'000;

    SOCKET m_hSocket = INVALID_SOCKET;
    const ULONGLONG m_uiDeadline = GetTickCount64() + TIMEOUT_MS;
};

} // namespace

std::optional<bool> OffersTls(const Server& Target)
{
    // Such as "unknown" and "log in first". Other codes, such as 421, say nothing about TLS.
    constexpr std::array<std::string_view, 8> NO{"500", "501", "502", "503", "504", "530", "534", "431"};
    ControlConnection Control;
    Control.Open(Target);
    if (Control.ReplyCode() != "220")
        return std::nullopt;
    for (const std::string_view sRequest : {"AUTH SSL\r\n", "AUTH TLS\r\n"}) // in libcurl's order
    {
        const std::string sCode = Control.Ask(sRequest);
        if (sCode == "234" || sCode == "334")
            return true;
        if (std::ranges::find(NO, sCode) == NO.end())
            return std::nullopt;
    }
    return false;
}
