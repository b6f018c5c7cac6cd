#include "host/Server.h"

#include "host/Utf8.h"

namespace {

constexpr unsigned SFTP_PORT = 22;
constexpr unsigned FTPS_PORT = 990;

constexpr const char* PORT_RULE = "The port chooses the protocol: 22 is SFTP, 990 is FTP over TLS, every "
                                  "other port is FTP (with TLS if the server offers it).";

struct Hint
{
    std::uint32_t uiCode; // libcurl's
    const char* pText;
};

constexpr Hint HINTS[] = {
    {2, "The server does not answer in this port's protocol, or refuses the encryption."},
    {3, "The server name or the root cannot be part of an address: check them for odd characters."},
    {6, "The server's name is not known: check its spelling and this computer's network and DNS settings."},
    {7, "Nothing answers at this port: check the port, the server and the firewalls between."},
    {8, "What answers at this port does not speak FTP: check the port."},
    {9, "The root cannot be entered or created: check its name and the user's rights."},
    {28, "Nothing answered in this port's protocol: check the port first, then the server and the firewalls "
         "between."},
    {35, "No TLS connection came about: check that the server speaks TLS at this port."},
    {52, "The server closed the connection without a word: check the port."},
    {55, "The connection broke while sending: check the network."},
    {56, "The server closed the connection: check the port, and whether the server demands TLS."},
    {67, "The server refuses the login: check the user name and the password."},
    {78, "The root does not exist and was not created: check its name and the user's rights."},
    {79, "No SSH connection came about: check that the server speaks SFTP at this port."},
};

const char* SchemeOf(unsigned uiPort)
{
    if (uiPort == SFTP_PORT)
        return "sftp";
    return uiPort == FTPS_PORT ? "ftps" : "ftp";
}

std::string HintFor(std::uint32_t uiCode)
{
    for (const Hint& Known : HINTS)
        if (Known.uiCode == uiCode)
            return std::string("\n  ") + Known.pText;
    return {};
}

} // namespace

std::string WithoutPassword(const std::string& sAddress)
{
    const std::size_t uiScheme = sAddress.find("://");
    const std::size_t uiStart = uiScheme == std::string::npos ? 0 : uiScheme + 3;
    const std::size_t uiAt = sAddress.rfind('@');
    if (uiAt == std::string::npos || uiAt < uiStart)
        return sAddress;
    return sAddress.substr(0, uiStart) + "***" + sAddress.substr(uiAt);
}

std::string Describe(const Server& Target)
{
    const bool bBareIpv6 = Target.sName.find(':') != std::string::npos && !Target.sName.starts_with('[');
    const std::string sName = WithoutPassword(Target.sName);
    return std::string(SchemeOf(Target.uiPort)) + "://" + (bBareIpv6 ? "[" + sName + "]" : sName) + ":" +
           std::to_string(Target.uiPort) + ", root " + Quoted(WithoutPassword(Target.sRoot)) + ", user " +
           Quoted(Target.sUser);
}

void Session::Open(std::optional<std::time_t> tVersion)
{
    m_tVersion = tVersion;
    m_Device.reset();
    m_Module.reset(); // unloaded before it is loaded again
    m_Module = std::make_unique<Module>();
    m_Device = std::make_unique<Device>(*m_Module);
    m_Device->SetOption(ZDV_FTP_SERVERNAME, FromUtf8(m_Target.sName));
    m_Device->SetOption(ZDV_FTP_PORT, std::to_wstring(m_Target.uiPort));
    m_Device->SetOption(ZDV_FTP_ROOT, FromUtf8(m_Target.sRoot));
    m_Device->SetOption(ZDV_FTP_USERNAME, FromUtf8(m_Target.sUser));
    m_Device->SetOption(ZDV_FTP_PASSWORD, m_sPassword);
    m_Device->ChooseVersion(tVersion);
    try
    {
        m_Device->MakeReady();
    }
    catch (const DeviceError& Error)
    {
        constexpr std::uint32_t NO_SUCH_VERSION = 10; // the versions are listed, none is old enough
        constexpr std::uint32_t LOGIN_DENIED = 67;
        if (!tVersion && Error.Code() == NO_SUCH_VERSION)
            return;
        const std::string sText = "The server is not ready.\n  Tried " + Describe(m_Target) +
                                  ".\n  Failed at " + Error.what() + "." + HintFor(Error.Code()) + "\n  " +
                                  PORT_RULE;
        if (Error.Code() == LOGIN_DENIED)
            throw LoginRefused(sText);
        throw std::runtime_error(sText);
    }
}

void Session::Reconnect()
{
    constexpr int PAUSES_S[] = {0, 2, 10, 45};
    for (const int& iPause : PAUSES_S)
    {
        Pause(iPause);
        try
        {
            return Open(m_tVersion);
        }
        catch (const std::runtime_error& Error)
        {
            if (&iPause == std::end(PAUSES_S) - 1)
                throw;
            Err().WriteLine("Still not connected, trying again in " + std::to_string((&iPause)[1]) + " s.");
        }
    }
}
