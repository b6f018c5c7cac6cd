#include "host/FtpTls.h"

#include <array>
#include <utility>
#include <winsock2.h>
#include <ws2tcpip.h>

namespace {

SOCKET ConnectTo(const Server& Target)
{
    constexpr DWORD TIMEOUT_MS = 10'000;
    std::string sName = Target.sName;
    std::erase_if(sName, [](char c) { return c == '[' || c == ']'; }); // around an IPv6 address
    addrinfo Hints{};
    Hints.ai_socktype = SOCK_STREAM;
    addrinfo* pFound = nullptr;
    SOCKET hSocket = INVALID_SOCKET;
    if (getaddrinfo(sName.c_str(), std::to_string(Target.uiPort).c_str(), &Hints, &pFound) != 0)
        return hSocket;
    for (const addrinfo* p = pFound; p != nullptr && hSocket == INVALID_SOCKET; p = p->ai_next)
    {
        hSocket = socket(p->ai_family, p->ai_socktype, p->ai_protocol);
        setsockopt(hSocket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&TIMEOUT_MS),
                   sizeof(TIMEOUT_MS));
        if (connect(hSocket, p->ai_addr, static_cast<int>(p->ai_addrlen)) != 0)
            closesocket(std::exchange(hSocket, INVALID_SOCKET));
    }
    freeaddrinfo(pFound);
    return hSocket;
}

// The code of the next reply, whose last line has a blank after it; empty when there is none.
std::string ReplyCode(SOCKET hSocket)
{
    std::string sLine;
    for (char c = 0; recv(hSocket, &c, 1, 0) == 1;)
    {
        if (c == '\n' && sLine.size() > 3 && sLine[3] == ' ')
            return sLine.substr(0, 3);
        c == '\n' ? sLine.clear() : sLine.push_back(c);
    }
    return {};
}

} // namespace

std::optional<bool> OffersTls(const Server& Target)
{
    WSADATA Data{};
    WSAStartup(MAKEWORD(2, 2), &Data);
    const SOCKET hSocket = ConnectTo(Target);
    std::string sCode = ReplyCode(hSocket);
    const bool bAnswers = !sCode.empty();
    bool bOffers = false;
    for (const std::string_view sRequest : {"AUTH SSL\r\n", "AUTH TLS\r\n"}) // in libcurl's order
    {
        if (bOffers || send(hSocket, sRequest.data(), static_cast<int>(sRequest.size()), 0) < 0)
            break;
        sCode = ReplyCode(hSocket);
        bOffers = sCode == "234" || sCode == "334";
    }
    closesocket(hSocket);
    WSACleanup();
    return bAnswers ? std::optional(bOffers) : std::nullopt;
}
