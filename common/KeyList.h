// The keys of servers that an administrator has listed in the settings file:
//
//   [Server Keys]
//   nas = SHA256:uF8x...                    an SSH host key, as ssh-keygen -lf prints it
//   backup.example:990 = sha256//9yB5...=   a TLS public key, as curl's pinned keys are written; for this port only
//   10.0.0.7 = SHA256:... SHA256:...        several, one of which must be shown
//   [fd00::7]:22 = ?                        none yet: the refusal names the one that the server shows
//   * = required                            a server that is not listed is refused
//
// The file is read here, and not by the system's functions for settings. They cut long values, see only the first of
// two sections, and miss a section after a byte order mark. A list that is not understood must never look like one
// that does not name the server.
#pragma once

#include <string>
#include <vector>

namespace quorvel {

// What the list says of one server.
struct ListedKeys
{
    bool bListed = false;           // it is talked to only if it shows one of these
    std::vector<std::string> aKeys; // as they are written
    std::wstring sDamage;           // why the list cannot be understood; then no server is talked to
};

// sServer is a name or an address with its port, such as "nas:22" or "[fd00::7]:22". Several lines for one server count
// together.
ListedKeys FindKeys(const std::string& sSettings, const std::string& sServer);

// The same from the settings file, which need not exist.
ListedKeys ReadKeys(const std::string& sServer);

} // namespace quorvel
