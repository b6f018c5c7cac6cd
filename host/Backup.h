// One new version on the server.
#pragma once

#include "host/Session.h"
#include "host/Source.h"

struct BackupOrder
{
    std::vector<std::string> Paths{};
    std::vector<std::string> Excluded{};
    std::uint64_t uiAreaSize = 2048; // MiB
    bool bVerify = false;
};

ExitCode RunBackup(Session& Server, const BackupOrder& Order, SourceTree Tree);
