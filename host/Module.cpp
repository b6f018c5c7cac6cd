#include "host/Module.h"

#include "host/LocalFile.h"

#include <filesystem>

namespace {

constexpr const wchar_t* FILE_NAME = L"ZDV_FTP.DLL";

HMODULE Load(const std::wstring& sPath)
{
    const HMODULE hLibrary = LoadLibraryW(sPath.c_str());
    if (hLibrary == nullptr)
        throw FileError(sPath, "cannot be loaded", GetLastError());
    return hLibrary;
}

} // namespace

Module::Module(const std::wstring& sPath) : m_hLibrary(Load(std::filesystem::absolute(sPath).wstring())) {}

Module::Address Module::Export(const char* pSymbol) const
{
    const FARPROC pFunction = GetProcAddress(m_hLibrary.get(), pSymbol);
    if (pFunction == nullptr)
        throw std::runtime_error(std::string("the module does not export ") + pSymbol);
    return {pFunction};
}

std::wstring DefaultModulePath()
{
    std::wstring sPath(MAX_LONG_PATH, L'\0');
    sPath.resize(GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size())));
    return sPath.substr(0, sPath.find_last_of(L'\\') + 1) + FILE_NAME;
}
