#include "host/Session.h"

#include "common/KeyList.h"

#include <array>
#include <curl/curl.h> // its error numbers, which the module hands on
#include <windows.h>

namespace {

constexpr std::pair<std::uint32_t, const char*> HINTS[] = {
    {CURLE_FAILED_INIT,
     "The server does not answer in this port's protocol, or refuses the encryption: check the port."},
    {CURLE_URL_MALFORMAT,
     "The server must be a name or an address without a port, or a URL such as sftp://nas. Look for "
     "characters that do not belong there, also in the root."},
    {CURLE_COULDNT_RESOLVE_HOST,
     "The server's name is not known: check its spelling and this computer's network and DNS settings."},
    {CURLE_COULDNT_CONNECT,
     "Nothing answers at this port: check the port, the server and the firewalls in between."},
    {CURLE_WEIRD_SERVER_REPLY, "What answers at this port does not speak FTP: check the port."},
    {CURLE_REMOTE_ACCESS_DENIED,
     "The root cannot be entered or created: check its name and the user's rights."},
    {CURLE_OPERATION_TIMEDOUT, "The server did not answer in time: check the port first, then the server and "
                               "the firewalls in between."},
    {CURLE_SSL_CONNECT_ERROR, "The TLS connection failed: check that the server speaks TLS at this port."},
    {CURLE_USE_SSL_FAILED,
     "zlt.ini asks for a key of this server, but the server that answers offers no encryption. It may be "
     "another server: check the name and the port."},
    {CURLE_PEER_FAILED_VERIFICATION,
     "Compare the key with the server's own before you list it in zlt.ini. For SFTP run \"ssh-keygen -lf\" "
     "on the server, once for each of its host keys. For TLS ask its administrator. If the keys differ, "
     "another server has answered."},
    {CURLE_GOT_NOTHING, "The server closed the connection without an answer: check the port."},
    {CURLE_SEND_ERROR, "The connection broke while sending: check the network."},
    {CURLE_RECV_ERROR,
     "The server closed the connection: check the port, and whether the server demands TLS."},
    {CURLE_LOGIN_DENIED, "The server refuses the login: check the user name, and the password or the key."},
    {CURLE_REMOTE_FILE_NOT_FOUND,
     "The root does not exist and was not created: check its name and the user's rights."},
    {CURLE_SSH, "The SSH connection failed: check that the server speaks SFTP at this port."},
    {ERROR_BAD_CONFIGURATION,
     "Correct zlt.ini beside zdv.exe, and save it as UTF-8. Until then no server is used."},
};

// Without a login that was typed before the name.
std::string NameOf(const Server& Target) { return Target.sName.substr(Target.sName.rfind('@') + 1); }

// As in a URL.
std::string NameWithPort(const Server& Target)
{
    const std::string sName = NameOf(Target);
    const bool bBareIpv6 = sName.find(':') != std::string::npos && !sName.starts_with('[');
    return fmt::format("{}:{}", bBareIpv6 ? '[' + sName + ']' : sName, Target.uiPort);
}

} // namespace

const char* SchemeOf(unsigned uiPort)
{
    constexpr unsigned SFTP_PORT = 22;
    constexpr unsigned FTPS_PORT = 990;
    return uiPort == SFTP_PORT ? "sftp" : uiPort == FTPS_PORT ? "ftps" : "ftp";
}

std::string Describe(const Server& Target)
{
    return fmt::format("{}://{}, root {}, user {}", SchemeOf(Target.uiPort), NameWithPort(Target),
                       Quoted(quorvel::WithoutPassword(Target.sRoot)), Quoted(Target.sUser));
}

bool HasListedKeys(const Server& Target) { return quorvel::ReadKeys(NameWithPort(Target)).bListed; }

std::string DescribeIdentity(const Server& Target)
{
    if (HasListedKeys(Target))
        return "The server's identity was compared: it has a key that zlt.ini lists.";
    return fmt::format(
        "The server's identity was not compared: another server could answer in its place. To have it "
        "compared, write into zlt.ini beside zdv.exe:\n"
        "  [Server Keys]\n"
        "  {} = ?\n"
        "The next check fails and names the key that the server shows. Make sure that this is the server's "
        "own key, then write it in place of the question mark.",
        Printable(NameOf(Target)));
}

std::string Explain(const Server& Target, const DeviceError& Error)
{
    std::string sText = fmt::format("The server is not ready.\n  Tried {}.\n  Failed at {}.\n  ",
                                    Describe(Target), Error.what());
    for (const auto& [uiCode, pHint] : HINTS)
        if (uiCode == Error.uiCode)
            sText += fmt::format("{}\n  ", pHint);
    return sText + PORT_RULE;
}

void Session::Open(std::optional<std::time_t> tVersion)
{
    CheckInterrupt();
    m_tVersion = tVersion;
    m_Device.reset(); // unloads the module before it is loaded again
    m_Device.emplace(m_Target, m_sPassword, tVersion);
}

void Session::Reconnect()
{
    constexpr std::array PAUSES_S{0, 2, 10, 45};
    for (std::size_t uiTry = 0;; ++uiTry)
    {
        Pause(PAUSES_S[uiTry]);
        try
        {
            return Open(m_tVersion);
        }
        catch (const DeviceError& Error)
        {
            if (uiTry + 1 == PAUSES_S.size())
                throw std::runtime_error(Explain(m_Target, Error));
        }
        Complain("Still not connected. Trying again in {} s.", PAUSES_S[uiTry + 1]);
    }
}
