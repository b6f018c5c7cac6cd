#include "interface/ResourceVersion.h"

#include "common/FunctionTrace.h"

#include <cstdio>
#include <cstring>
#include <vector>

using quorvel::FunctionTrace;
using quorvel::Level;

namespace {

struct Translation
{
    WORD wLanguage;
    WORD wCodePage;
};

bool Failed(const wchar_t* sEnding)
{
    const DWORD dwLastError = GetLastError();
    FunctionTrace(sEnding).Number(Level::Error, L"dwLastError", dwLastError);
    return false;
}

bool CopyString(const std::vector<char>& aResource, const char* szKey, char* szValue, std::uint32_t uiLen)
{
    const FunctionTrace Trace(L"GetResourceVersionStr");
    void* pData = nullptr;
    UINT uiData = 0;
    if (!VerQueryValueA(aResource.data(), "\\VarFileInfo\\Translation", &pData, &uiData) ||
        uiData < sizeof(Translation))
        return Failed(L"GetResourceVersionStr : ... ending(VerQueryValue failed)");
    const auto* const lpTranslate = static_cast<const Translation*>(pData);
    Trace.Number(Level::Verbose, L"lpTranslate->wLanguage", std::uint32_t{lpTranslate->wLanguage});
    Trace.Number(Level::Verbose, L"lpTranslate->wCodePage", std::uint32_t{lpTranslate->wCodePage});

    char szVerQuery[256];
    snprintf(szVerQuery, sizeof(szVerQuery), "\\StringFileInfo\\%4.4X%4.4X\\%s", lpTranslate->wLanguage,
             lpTranslate->wCodePage, szKey);
    Trace.Text(Level::Verbose, L"szVerQuery", static_cast<const char*>(szVerQuery));
    if (!VerQueryValueA(aResource.data(), szVerQuery, &pData, &uiData) || uiData == 0)
    {
        Trace.Error(L"... ending(No data returned by VerQueryValue)");
        return false;
    }
    const char* const szData = static_cast<const char*>(pData);
    Trace.Text(Level::Verbose, L"szData", szData);
    strncpy_s(szValue, uiLen, szData, _TRUNCATE);
    return true;
}

} // namespace

bool GetResourceVersionStr(const char* szKey, char* szValue, std::uint32_t uiLen, HMODULE hModule)
{
    const FunctionTrace Trace(L"GetResourceVersionStr");
    Trace.Starting();
    if (szKey == nullptr || szValue == nullptr || uiLen == 0 || hModule == nullptr)
    {
        Trace.Error(L"... ending(Bad argument)");
        return false;
    }
    char szFullPath[MAX_PATH];
    if (GetModuleFileNameA(hModule, szFullPath, sizeof(szFullPath)) == 0)
        return Failed(L"GetResourceVersionStr : ... ending(GetModuleFileName failed)");
    Trace.Text(Level::Verbose, L"szFullPath", static_cast<const char*>(szFullPath));

    DWORD dwHandle = 0;
    const DWORD dwVerInfoSize = GetFileVersionInfoSizeA(szFullPath, &dwHandle);
    Trace.Number(Level::Verbose, L"dwVerInfoSize", dwVerInfoSize);
    if (dwVerInfoSize == 0)
    {
        Trace.Error(L".. ending(No version resource available)");
        return false;
    }
    std::vector<char> aResource(dwVerInfoSize);
    if (!GetFileVersionInfoA(szFullPath, 0, dwVerInfoSize, aResource.data()))
        return Failed(L"GetResourceVersionStr : ... ending(GetFileVersionInfo failed)");
    if (!CopyString(aResource, szKey, szValue, uiLen))
        return false;
    Trace.Ending();
    return true;
}
