#pragma once

#include <curl/curl.h>
#include <memory>
#include <string>
#include <vector>

// Makes libcurl create the directories of an sftp:// URL in the next request. For a listing over FTP libcurl does so
// by itself, over SFTP it does not. Directories that exist are no failure. Does nothing for the other schemes. The
// libcurl handle is as before when this goes out of scope.
class SftpDirectories
{
public:
    SftpDirectories(CURL* pCurl, const std::wstring& sURL);
    SftpDirectories(const SftpDirectories&) = delete;
    SftpDirectories& operator=(const SftpDirectories&) = delete;
    ~SftpDirectories();

    CURLcode Result() const { return m_enResult; }

private:
    CURL* m_pCurl;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_pCommands{nullptr, &curl_slist_free_all};
    CURLcode m_enResult = CURLE_OK;
};

// The directories to make for a URL, outermost first, in the form that an SFTP server needs: from its top directory,
// or relative to the login directory if the path begins with "~/".
std::vector<std::string> DirectoriesOf(const std::wstring& sURL);
