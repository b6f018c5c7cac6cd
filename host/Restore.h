// Reads one version: all of it or what patterns name, into a folder or only to compare it with its manifests.
// What is damaged or missing is reported by name and leaves the rest alone.
#pragma once

#include "host/Tape.h"
#include "host/Target.h"

// Without a target nothing is written. DoneWithProblems: all is as the backup has it, but that has not all. Throws when
// nothing further can be read.
ExitCode ReadVersion(Session& Server, const Volume& Tape, const std::vector<std::string>& Given,
                     TargetFolder* pTarget);

// Shows the entries from the manifests alone. As with the other, what is lost is named and gives DataDiffers.
ExitCode ShowList(Session& Server, const Volume& Tape, const std::vector<std::string>& Given);
