// A device at work on one version of one server, and what to say when the server cannot be used.
#pragma once

#include "host/Console.h"
#include "host/Device.h"
#include "host/Errors.h"

inline constexpr const char* PORT_RULE =
    "The port chooses the protocol: 22 is SFTP, 990 is FTP over TLS, every "
    "other port is FTP (with TLS if the server offers it).";

const char* SchemeOf(unsigned uiPort);      // "sftp", "ftps" or "ftp"
std::string Describe(const Server& Target); // ftp://server:21, root "backups", user "tape"
bool HasListedKeys(const Server& Target);   // in zlt.ini: then the module accepts no other key

// Says of a server that is ready whether its identity was compared, and if not, how to have it compared.
std::string DescribeIdentity(const Server& Target);

// What was tried, what failed, what may help.
std::string Explain(const Server& Target, const DeviceError& Error);

// The module keeps a strange name from a listing for as long as it is loaded, so it is loaded again for each version.
class Session
{
public:
    explicit Session(const Server& Target) : m_Target(Target) {}

    void SetPassword(const std::wstring& sPassword) { m_sPassword = sPassword; }

    // Loads the newest version not later than this one. Without one, or if there is none, versions are only listed.
    void Open(std::optional<std::time_t> tVersion = {});

    // Opens the same version again after a broken connection, in a few tries with growing pauses. If all of them
    // fail, it throws no DeviceError but std::runtime_error.
    void Reconnect();

    // Does something again after a broken connection. If it fails three times and the server is still there, the object
    // cannot be read.
    template <typename Action> auto Patiently(Action action)
    {
        for (int iTry = 1;; ++iTry)
        {
            std::string sProblem;
            try
            {
                return action();
            }
            catch (const DeviceError& Error)
            {
                sProblem = Error.what();
            }
            if (iTry == 1)
                Complain("The connection broke: {}. Trying again.", sProblem);
            Reconnect();
            if (iTry == MAX_TRIES)
                throw UnreadableObject(sProblem);
        }
    }

    Device& Drive() { return *m_Device; }
    const Server& Target() const { return m_Target; }

    static constexpr int MAX_TRIES = 3;

private:
    Server m_Target;
    std::wstring m_sPassword;
    std::optional<Device> m_Device;
    std::optional<std::time_t> m_tVersion;
};
