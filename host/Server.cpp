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

std::string Quoted(const std::string& sText) { return "\"" + sText + "\""; }

} // namespace

std::string Describe(const Server& Target)
{
    const bool bBareIpv6 = Target.sName.find(':') != std::string::npos && !Target.sName.starts_with('[');
    return std::string(SchemeOf(Target.uiPort)) + "://" +
           (bBareIpv6 ? "[" + Target.sName + "]" : Target.sName) + ":" + std::to_string(Target.uiPort) +
           ", root " + Quoted(Target.sRoot) + ", user " + Quoted(Target.sUser);
}

void Connect(Device& Drive, const Server& Target)
{
    Drive.SetOption(ZDV_FTP_SERVERNAME, FromUtf8(Target.sName));
    Drive.SetOption(ZDV_FTP_PORT, std::to_wstring(Target.uiPort));
    Drive.SetOption(ZDV_FTP_ROOT, FromUtf8(Target.sRoot));
    Drive.SetOption(ZDV_FTP_USERNAME, FromUtf8(Target.sUser));
    Drive.SetOption(ZDV_FTP_PASSWORD, Target.sPassword);
    try
    {
        Drive.MakeReady();
    }
    catch (const DeviceError& Error)
    {
        throw std::runtime_error("The server is not ready.\n  Tried " + Describe(Target) + ".\n  Failed at " +
                                 Error.what() + "." + HintFor(Error.Code()) + "\n  " + PORT_RULE);
    }
}
