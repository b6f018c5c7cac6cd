// One new version on the server.
#pragma once

#include "host/CommandLine.h"
#include "host/Session.h"
#include "host/Source.h"

ExitCode RunBackup(Session& Current, const CommandLine& Given, SourceTree Tree);
