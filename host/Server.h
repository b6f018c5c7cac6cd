// The server of a command: what the user typed, and what to tell when it cannot be used.
#pragma once

#include "host/Device.h"

struct Server
{
    std::string sName;
    unsigned uiPort = 21;
    std::string sRoot;
    std::string sUser;
    std::wstring sPassword;
};

std::string Describe(const Server& Target); // ftp://server:21, root "backups", user "tape"

// Throws a std::runtime_error that tells in plain words what was tried, what failed and what may help.
void Connect(Device& Drive, const Server& Target);
