// The versions on a server.
#pragma once

#include "host/TapeFormat.h"

std::string ComputerName();

// Writes the header of a new version, adding this computer's name, and makes sure that the server lists the version.
std::time_t BeginVersion(Session& Current, Head Header);
void CheckVersion(Session& Current, const std::string& sId); // throws unless the open version has this id

std::string StateText(const Volume& Tape); // "complete    PC1  12 files, 3.4 MiB"

struct ChosenVersion
{
    std::time_t tVersion;
    Volume Tape;
};

// Opens the version of this very second, or else the newest complete one not later; without a time the newest
// complete one. Incomplete ones that are passed over are named. Throws when there is none; without a time also when a
// newer version is damaged or cannot be read, since it may be the one that is wanted.
ChosenVersion OpenVersion(Session& Current, std::optional<std::time_t> tAt);

// Done if no version is damaged or unreadable. Throws if there is none.
ExitCode ShowVersions(Session& Current);
void CheckByWriting(Session& Current);
