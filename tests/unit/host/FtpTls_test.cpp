#include "host/FtpTls.h"

#include <gtest/gtest.h>
#include <winsock2.h>

struct Script
{
    SOCKET hListener;
    std::vector<std::string> Replies;
};

// A server that greets and answers so, and then closes the connection.
static DWORD WINAPI Serve(void* pScript)
{
    const auto& [hListener, Replies] = *static_cast<Script*>(pScript);
    const SOCKET hSocket = accept(hListener, nullptr, nullptr);
    char aRequest[64];
    for (const std::string& sReply : Replies)
        if (send(hSocket, sReply.data(), static_cast<int>(sReply.size()), 0) > 0)
            recv(hSocket, aRequest, sizeof(aRequest), 0);
    return static_cast<DWORD>(closesocket(hSocket));
}

TEST(FtpTls, IsOfferedOrNotOrNotKnown)
{
    const std::pair<std::vector<std::string>, std::optional<bool>> CASES[] = {
        {{"220 ready\r\n", "234 go on\r\n"}, true},
        {{"220-ready\r\nFor you\r\n220 now\r\n", "500 what?\r\n", "334 go on\r\n"}, true},
        {{"220 ready\r\n", "530 log in\r\n", "504 what?\r\n"}, false},
        {{"220 ready\r\n", "421 busy\r\n"}, std::nullopt},
        {{"220 ready\r\n", "500 what?\r\n"}, std::nullopt},
        {{"421 busy\r\n"}, std::nullopt},
    };
    WSADATA Data{};
    WSAStartup(MAKEWORD(2, 2), &Data);
    Script Given{.hListener = socket(AF_INET, SOCK_STREAM, 0), .Replies = {}};
    sockaddr_in Address{.sin_family = AF_INET, .sin_port = htons(2100), .sin_addr = {}, .sin_zero = {}};
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(Given.hListener, reinterpret_cast<sockaddr*>(&Address), sizeof(Address)), 0);
    ASSERT_EQ(listen(Given.hListener, 1), 0);
    for (const auto& [Replies, Answer] : CASES)
    {
        Given.Replies = Replies;
        const HANDLE hThread = CreateThread(nullptr, 0, Serve, &Given, 0, nullptr);
        EXPECT_EQ(OffersTls({"127.0.0.1", 2100, "", ""}), Answer) << Replies.front() << Replies.back();
        WaitForSingleObject(hThread, INFINITE);
        CloseHandle(hThread);
    }
    closesocket(Given.hListener);
}
