// The one way in which a device's scheme, server and root become a URL, for listings and uploads alike.
#pragma once

#include "interface/FtpContext.h"

// The URL of the backup root.
std::wstring RootUrl(const std::wstring& sProtocol, const std::wstring& sServer, const std::wstring& sRoot);
std::wstring RootUrl(const FtpContext& FC);

// The URL of object m_uiCurrentObject of the current version.
std::wstring ObjectUrl(const FtpContext& FC);
