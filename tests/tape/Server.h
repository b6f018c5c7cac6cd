#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The server that tests/with-server has started for this program.
namespace server {

// An environment variable that tests/with-server sets. Without it the program ends with a message.
std::wstring Variable(const wchar_t* sName);

// The root to configure for a folder of the login directory, or of ZDV_TEST_ROOT where the server is somebody else's.
// SFTP roots begin at the server's top directory.
std::wstring Root(const std::wstring& sFolder);

// Whether this program can look into what the server holds.
bool HasStore();

// The same folder on this machine.
std::filesystem::path Store(const std::wstring& sFolder);

// The names in a folder of the store, sorted.
std::vector<std::wstring> Names(const std::wstring& sFolder);

// What a file of the store holds.
std::vector<char> Content(const std::filesystem::path& File);

// Breaks or mends the server: "kill", "stop", "cont", "start", or "fault NAME" of those that the row's server knows.
// Returns when it is done.
void Control(const std::string& sCommand);

} // namespace server
