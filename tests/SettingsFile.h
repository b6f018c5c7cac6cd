#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <windows.h>

// One of the module's settings files, which it looks for beside the program, for as long as this lives. What was there
// before, from ./dev test ROW or on a tester's machine, is put back.
class SettingsFile
{
public:
    SettingsFile(const wchar_t* sName, const std::wstring& sText)
    {
        wchar_t aProgram[MAX_PATH];
        GetModuleFileNameW(nullptr, aProgram, MAX_PATH);
        m_File = std::filesystem::path(aProgram).replace_filename(sName);
        m_bGiven = std::filesystem::exists(m_File);
        m_sGiven = TextOf(m_File);
        if (!(std::wofstream(m_File) << sText))
            throw std::runtime_error("a settings file cannot be written");
    }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;
    ~SettingsFile()
    {
        if (m_bGiven)
            std::ofstream(m_File, std::ios::binary) << m_sGiven;
        else
            std::filesystem::remove(m_File);
    }

    // Of the module that was loaded last.
    std::string Log() const
    {
        const std::string sLog = TextOf(m_File.parent_path() / "Logfiles" / "ZDV_FTP_trace.log");
        const std::size_t uiLoad = sLog.rfind("tracing starting"); // with ./dev test all loads are in it
        return uiLoad == sLog.npos ? sLog : sLog.substr(uiLoad);
    }

private:
    static std::string TextOf(const std::filesystem::path& File)
    {
        std::ifstream Stream(File, std::ios::binary);
        return {std::istreambuf_iterator<char>(Stream), {}};
    }

    std::filesystem::path m_File;
    std::string m_sGiven;
    bool m_bGiven = false;
};
