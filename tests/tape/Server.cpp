#include "tests/tape/Server.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <winsock2.h>

namespace server {

namespace {

class ControlChannel
{
public:
    explicit ControlChannel(unsigned short uiPort)
    {
        WSADATA Data;
        WSAStartup(MAKEWORD(2, 2), &Data);
        m_hSocket = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_port = htons(uiPort);
        Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(m_hSocket, reinterpret_cast<sockaddr*>(&Address), sizeof(Address)) != 0)
            throw std::runtime_error("the server's control channel cannot be reached");
    }
    ControlChannel(const ControlChannel&) = delete;
    ControlChannel& operator=(const ControlChannel&) = delete;
    ~ControlChannel()
    {
        closesocket(m_hSocket);
        WSACleanup();
    }

    std::string Ask(const std::string& sLine)
    {
        send(m_hSocket, sLine.data(), static_cast<int>(sLine.size()), 0);
        std::string sAnswer;
        char c = 0;
        while (recv(m_hSocket, &c, 1, 0) == 1 && c != '\n')
            sAnswer += c;
        return sAnswer;
    }

private:
    SOCKET m_hSocket;
};

} // namespace

std::wstring Variable(const wchar_t* sName)
{
    const wchar_t* const sValue = _wgetenv(sName);
    if (sValue == nullptr)
        throw std::runtime_error("run this program with tests/with-server");
    return sValue;
}

std::wstring Root(const std::wstring& sFolder)
{
    if (const wchar_t* const sRoot = _wgetenv(L"ZDV_TEST_ROOT"))
        return sRoot + (L'/' + sFolder);
    if (Variable(L"ZDV_TEST_SCHEME") != L"sftp")
        return sFolder;
    const std::wstring sHome = Variable(L"ZDV_TEST_HOME");
    return sHome + (sHome.ends_with(L'/') ? L"" : L"/") + sFolder;
}

bool HasStore() { return _wgetenv(L"ZDV_TEST_STORE") != nullptr; }

std::filesystem::path Store(const std::wstring& sFolder)
{
    return std::filesystem::path(L"Z:" + Variable(L"ZDV_TEST_STORE")) / sFolder;
}

std::vector<std::wstring> Names(const std::wstring& sFolder)
{
    std::vector<std::wstring> aNames;
    for (const auto& Entry : std::filesystem::directory_iterator(Store(sFolder)))
        aNames.push_back(Entry.path().filename().wstring());
    std::sort(aNames.begin(), aNames.end());
    return aNames;
}

std::vector<char> Content(const std::filesystem::path& File)
{
    std::ifstream Stream(File, std::ios::binary);
    return {std::istreambuf_iterator<char>(Stream), {}};
}

void Control(const std::string& sCommand)
{
    ControlChannel channel(static_cast<unsigned short>(std::stoi(Variable(L"ZDV_TEST_CONTROL"))));
    if (const std::string sAnswer = channel.Ask(sCommand + "\n"); sAnswer != "ok")
        throw std::runtime_error(sCommand + ": " + sAnswer);
}

} // namespace server
