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

bool Failed(const FunctionTrace& Trace, const wchar_t* sEnding)
{
    const DWORD dwLastError = GetLastError();
    Trace.At(sEnding).Number(Level::Error, L"dwLastError", dwLastError);
    return false;
}

bool CopyString(const FunctionTrace& Trace, const std::vector<char>& aResource, const char* szKey,
                char* szValue, std::uint32_t uiLen)
{
    void* pData = nullptr;
    UINT uiData = 0;
    if (!VerQueryValueA(aResource.data(), "\\VarFileInfo\\Translation", &pData, &uiData) ||
        uiData < sizeof(Translation))
        return Failed(Trace, L"... ending(VerQueryValue failed)");
    const auto* const lpTranslate = static_cast<const Translation*>(pData);
    Trace.Number(L"lpTranslate->wLanguage", lpTranslate->wLanguage);
    Trace.Number(L"lpTranslate->wCodePage", lpTranslate->wCodePage);

    char szVerQuery[256];
    snprintf(szVerQuery, sizeof(szVerQuery), "\\StringFileInfo\\%4.4X%4.4X\\%s", lpTranslate->wLanguage,
             lpTranslate->wCodePage, szKey);
    Trace.Text(L"szVerQuery", szVerQuery);
    if (!VerQueryValueA(aResource.data(), szVerQuery, &pData, &uiData) || uiData == 0)
        return Trace.Failed(L"... ending(No data returned by VerQueryValue)");
    const char* const szData = static_cast<const char*>(pData);
    Trace.Text(L"szData", szData);
    strncpy_s(szValue, uiLen, szData, _TRUNCATE);
    return true;
}

} // namespace

bool GetResourceVersionStr(const char* szKey, char* szValue, std::uint32_t uiLen, HMODULE hModule)
{
    const FunctionTrace Trace = FunctionTrace::Started(L"GetResourceVersionStr");
    if (szKey == nullptr || szValue == nullptr || uiLen == 0 || hModule == nullptr)
        return Trace.Failed(L"... ending(Bad argument)");
    char szFullPath[MAX_PATH];
    if (GetModuleFileNameA(hModule, szFullPath, sizeof(szFullPath)) == 0)
        return Failed(Trace, L"... ending(GetModuleFileName failed)");
    Trace.Text(L"szFullPath", szFullPath);

    DWORD dwHandle = 0;
    const DWORD dwVerInfoSize = GetFileVersionInfoSizeA(szFullPath, &dwHandle);
    Trace.Number(L"dwVerInfoSize", dwVerInfoSize);
    if (dwVerInfoSize == 0)
        return Trace.Failed(L".. ending(No version resource available)");
    std::vector<char> aResource(dwVerInfoSize);
    if (!GetFileVersionInfoA(szFullPath, 0, dwVerInfoSize, aResource.data()))
        return Failed(Trace, L"... ending(GetFileVersionInfo failed)");
    if (!CopyString(Trace, aResource, szKey, szValue, uiLen))
        return false;
    Trace.Ending();
    return true;
}
