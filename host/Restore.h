// Reads one version: all of it or what patterns name, into a folder or only to compare it with its manifests.
// What is damaged or missing is reported by name and leaves the rest alone.
#pragma once

#include "host/CommandLine.h"
#include "host/TapeFormat.h"
#include "host/Target.h"

// List shows the entries of the manifests without reading the data, Verify compares, and Restore writes into the
// target, which the others do not have. DataDiffers: something is lost or not as the manifests say. DoneWithProblems: all is as
// the manifests say, but the backup itself lacks something. Throws when nothing further can be read.
ExitCode ReadVersion(Session& Current, const Volume& Tape, Command enPurpose,
                     const std::vector<std::string>& Wanted, TargetFolder* pTarget = nullptr);
