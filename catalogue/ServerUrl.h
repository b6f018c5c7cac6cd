#pragma once

#include "interface/FtpContext.h"

// The URL of the backup root, without a "/" at its end.
std::wstring RootUrl(const FtpContext& FC);

// The URL of object m_uiCurrentObject of the current version.
std::wstring ObjectUrl(const FtpContext& FC);
