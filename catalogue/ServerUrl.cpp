#include "catalogue/ServerUrl.h"

std::wstring RootUrl(const std::wstring& sProtocol, const std::wstring& sServer, const std::wstring& sRoot)
{
    const bool bSeparate = !sRoot.empty() && !sServer.ends_with(L'/');
    return sProtocol + sServer + (bSeparate ? L"/" : L"") + sRoot;
}

std::wstring RootUrl(const FtpContext& FC) { return RootUrl(FC.m_sProtocol, FC.m_sServer, FC.m_sRoot); }

std::wstring ObjectUrl(const FtpContext& FC)
{
    const AreaObject& Object = FC.m_AreaObjectList[FC.m_uiCurrentObject - 1];
    const std::wstring sVersionLabel = FC.m_CurrentVersion.GetLabel();
    return RootUrl(FC) + L"/" + sVersionLabel + L"/" + Object.GetLabel();
}
