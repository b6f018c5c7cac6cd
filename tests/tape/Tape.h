#pragma once

#include "interface/Module.h"

#include <string>
#include <vector>

using Blocks = std::vector<char>;

// uiCount blocks that differ from each other and from those of another seed.
Blocks SomeBlocks(std::size_t uiCount, unsigned uiSeed);

// A device of the module, with one method per verb of a host. Statuses are returned as they are.
class Tape
{
public:
    // Opened and configured for the test's server, and not yet ready.
    explicit Tape(const std::wstring& sRoot);
    Tape(const Tape&) = delete;
    Tape& operator=(const Tape&) = delete;
    ~Tape() { m_Module.Close(m_Handle); }

    void Set(std::int32_t uiCategory, const std::wstring& sValue);
    ZDV_STATUS MakeReady() { return m_Module.Utility(m_Handle, ZDV_U_MAKE_UNIT_READY); }
    // Asks for the backup of a local date and time "dd/mm/yyyy hh:mm:ss".
    void AskForBackup(const std::wstring& sTime);

    ZDV_STATUS Write(const Blocks& aBlocks);
    // Ends the current object; the upload's error code, 0 when the server took it.
    std::uint32_t Filemark();
    // Writes an object from its first block to its filemark. ZDV_SUCCESS when the server took it.
    ZDV_STATUS WriteObject(const Blocks& aBlocks);
    // Reads as many blocks as aBlocks has.
    ZDV_STATUS Fill(Blocks& aBlocks);
    // Reads up to uiCount blocks; what the request did not fill keeps the byte 0xEE.
    ZDV_STATUS Read(std::size_t uiCount, Blocks& aBlocks);
    ZDV_STATUS Position(std::uint32_t uiMode, std::int32_t iCount = 0)
    {
        return m_Module.Position(m_Handle, uiMode, iCount);
    }
    ZDV_STATUS Erase() { return m_Module.MediaAccess(m_Handle, ZDV_MA_E, 0); }
    ZDV_STATUS WriteFilemarks(std::uint32_t uiCount)
    {
        return m_Module.MediaAccess(m_Handle, ZDV_MA_WFM, uiCount);
    }

    std::uint32_t Property(std::uint32_t uiCategory);
    std::uint32_t ErrorCode() { return Property(ZDV_P_SPECIFIC_ERROR_CODE); }
    std::wstring ErrorText();
    // The versions that the device knows, as labels, oldest first.
    std::vector<std::wstring> Versions();

private:
    Module m_Module{LoadLibraryW(L"ZDV_FTP.DLL")};
    ZDV_HANDLE m_Handle = 0;
};
