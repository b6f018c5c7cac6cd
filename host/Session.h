// A device at work on one version of one server, and what to tell when it cannot be used.
#pragma once

#include "host/Console.h"
#include "host/Device.h"
#include "host/Errors.h"

inline constexpr const char* PORT_RULE =
    "The port chooses the protocol: 22 is SFTP, 990 is FTP over TLS, every "
    "other port is FTP (with TLS if the server offers it).";

const char* SchemeOf(unsigned uiPort);      // "sftp", "ftps" or "ftp": the module goes by the port
std::string Describe(const Server& Target); // ftp://server:21, root "backups", user "tape"
bool HasListedKeys(const Server& Target);   // in zlt.ini: then it is talked to in no other way
std::string
DescribeIdentity(const Server& Target); // whether it was compared when the server was ready, or how it can be
std::string Explain(const Server& Target,
                    const DeviceError& Error); // what was tried, what failed, what may help

// The module remembers a strange name that it met in a listing for as long as it is loaded, so each version is
// opened with a module of its own.
class Session
{
public:
    explicit Session(const Server& Target) : m_Target(Target) {}

    void SetPassword(const std::wstring& sPassword) { m_sPassword = sPassword; }

    // Without a version all are listed and none is loaded; so they are when none is as old as the one asked for.
    void Open(std::optional<std::time_t> tVersion = {});

    // After a broken connection: opens the same version again, in a few tries with growing pauses. What it throws
    // at last is no DeviceError.
    void Reconnect();

    // Does something again after a broken connection. What fails three times is a matter of the tape: the server
    // is there.
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
                Complain("The connection broke, trying again: {}.", sProblem);
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
