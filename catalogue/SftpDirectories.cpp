#include "catalogue/SftpDirectories.h"

#include "common/Url.h"

#include <algorithm>

namespace {

// A quoted argument of libcurl's quote commands.
std::string Quoted(const std::string& sPath)
{
    std::string sQuoted = "\"";
    for (const char c : sPath)
    {
        if (c == '"' || c == '\\')
            sQuoted += '\\';
        sQuoted += c;
    }
    return sQuoted + '"';
}

} // namespace

std::vector<std::string> DirectoriesOf(const std::wstring& sURL)
{
    std::string sPath = quorvel::UrlPart(sURL, CURLUPART_PATH, CURLU_URLDECODE);
    // libcurl does not replace "~" in a quoted path, but servers start relative paths in the login directory.
    if (sPath.starts_with("/~/"))
        sPath.erase(0, std::min(sPath.find_first_not_of('/', 2), sPath.size()));
    std::vector<std::string> aDirectories;
    for (std::size_t uiEnd = sPath.find('/'); uiEnd != std::string::npos; uiEnd = sPath.find('/', uiEnd + 1))
        if (uiEnd != 0 && sPath[uiEnd - 1] != '/')
            aDirectories.push_back(sPath.substr(0, uiEnd));
    return aDirectories;
}

SftpDirectories::SftpDirectories(CURL* pCurl, const std::wstring& sURL) : m_pCurl(pCurl)
{
    if (!sURL.starts_with(L"sftp://"))
        return;
    for (const std::string& sDirectory : DirectoriesOf(sURL))
    {
        // "*" ignores a failure: the directory may exist.
        curl_slist* const pCommands =
            curl_slist_append(m_pCommands.get(), ("*mkdir " + Quoted(sDirectory)).c_str());
        if (pCommands == nullptr)
        {
            m_enResult = CURLE_OUT_OF_MEMORY;
            return;
        }
        (void)m_pCommands.release(); // a part of the longer list now
        m_pCommands.reset(pCommands);
    }
    m_enResult = curl_easy_setopt(m_pCurl, CURLOPT_QUOTE, m_pCommands.get());
}

SftpDirectories::~SftpDirectories()
{
    if (m_pCommands != nullptr)
        curl_easy_setopt(m_pCurl, CURLOPT_QUOTE, nullptr);
}
