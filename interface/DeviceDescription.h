#pragma once

// What the module and its devices call themselves.
inline constexpr const wchar_t* DEVICE_DESCRIPTION = L"FTP Virtual device for Windows";
