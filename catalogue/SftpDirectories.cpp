#include "catalogue/SftpDirectories.h"

#include "common/Url.h"

#include <memory>

namespace {

std::string DecodedPath(const std::wstring& sURL)
{
    const std::string sNarrow = quorvel::NarrowUrl(sURL);
    const std::size_t uiPath = sNarrow.find('/', sNarrow.find("://") + 3);
    if (uiPath == std::string::npos)
        return {};
    int iLength = 0;
    const std::unique_ptr<char, decltype(&curl_free)> pPath(
        curl_easy_unescape(nullptr, sNarrow.c_str() + uiPath, 0, &iLength), &curl_free);
    return pPath != nullptr ? std::string(pPath.get(), static_cast<std::size_t>(iLength)) : std::string();
}

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
    std::string sPath = DecodedPath(sURL);
    // libcurl does not resolve the login directory in a quoted path, but servers start relative ones there.
    if (sPath.starts_with("/~/"))
        sPath.erase(0, 3);
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
        if (!Append("*mkdir " + Quoted(sDirectory))) // "*": a failure, as of one that exists, is passed over
            return;
    m_enResult = curl_easy_setopt(m_pCurl, CURLOPT_QUOTE, m_pCommands);
}

SftpDirectories::~SftpDirectories()
{
    if (m_pCommands == nullptr)
        return;
    curl_easy_setopt(m_pCurl, CURLOPT_QUOTE, nullptr);
    curl_slist_free_all(m_pCommands);
}

bool SftpDirectories::Append(const std::string& sCommand)
{
    curl_slist* const pCommands = curl_slist_append(m_pCommands, sCommand.c_str());
    if (pCommands == nullptr)
        m_enResult = CURLE_OUT_OF_MEMORY;
    else
        m_pCommands = pCommands;
    return pCommands != nullptr;
}
