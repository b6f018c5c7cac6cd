#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <windows.h>

// One of the module's settings files, which it looks for beside the program, for as long as this lives.
class SettingsFile
{
public:
    SettingsFile(const wchar_t* sName, const std::wstring& sText)
    {
        wchar_t aProgram[MAX_PATH];
        GetModuleFileNameW(nullptr, aProgram, MAX_PATH);
        m_File = std::filesystem::path(aProgram).replace_filename(sName);
        m_bGiven = std::filesystem::exists(m_File); // by ./dev test ROW
        if (!(std::wofstream(m_File) << sText))
            throw std::runtime_error("a settings file cannot be written");
    }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;
    ~SettingsFile()
    {
        if (!m_bGiven)
            std::filesystem::remove(m_File);
    }

    // Of the module that was loaded last.
    std::string Log() const
    {
        std::ifstream Log(m_File.parent_path() / "Logfiles" / "ZDV_FTP_trace.log", std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(Log)), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path m_File;
    bool m_bGiven = false;
};
