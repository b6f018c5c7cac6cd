#include "host/Module.h"

#include "host/LocalFile.h"

namespace {

HMODULE Load()
{
    std::wstring sPath(MAX_LONG_PATH, L'\0');
    sPath.resize(GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size())));
    sPath.replace(sPath.find_last_of(L'\\') + 1, sPath.npos, L"ZDV_FTP.DLL");
    const HMODULE hLibrary = LoadLibraryW(sPath.c_str());
    if (hLibrary == nullptr)
        throw FileError(sPath, "cannot be loaded", GetLastError());
    return hLibrary;
}

} // namespace

Module::Module() : m_hLibrary(Load()) {}

Module::Address Module::Export(const char* pSymbol) const
{
    const FARPROC pFunction = GetProcAddress(m_hLibrary.get(), pSymbol);
    if (pFunction == nullptr)
        throw std::runtime_error(std::string("the module does not export ") + pSymbol);
    return {pFunction};
}
