#include "catalogue/ServerUrl.h"

std::wstring RootUrl(const FtpContext& FC)
{
    const bool bGlued =
        !FC.m_sRoot.empty() && FC.m_sRoot.front() != L'/' && !FC.m_sServer.ends_with(L'/');
    return FC.m_sProtocol + FC.m_sServer + (bGlued ? L"/" : L"") + FC.m_sRoot;
}

std::wstring ObjectUrl(const FtpContext& FC)
{
    const AreaObject& Object = FC.m_AreaObjectList[FC.m_uiCurrentObject - 1];
    // Without a root the objects lie in the login directory; a second "/" would be the server's top directory.
    const std::wstring sRoot = FC.m_sRoot.empty() ? L"" : FC.m_sRoot + L"/";
    return FC.m_sProtocol + FC.m_sServer + L"/" + sRoot + FC.m_CurrentVersion.GetLabel() + L"/" +
           Object.GetLabel();
}
