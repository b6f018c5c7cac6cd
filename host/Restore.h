#pragma once

#include "host/Device.h"
#include "host/Progress.h"
#include "host/TapeReader.h"

// Brings one version's files back into a folder. A file that cannot be restored is reported and leaves the
// others alone.
class Restore
{
public:
    Restore(Device& Drive, const std::wstring& sFolder, bool bReplace);

    void Run(std::time_t tVersion); // throws when nothing further can be read
    bool Complete() const { return m_uiProblems == 0; }
    std::string Summary() const;

private:
    void RestoreFile(std::uint32_t uiFile, Progress& Shown);
    template <typename Step> void Attempt(Progress& Shown, Step step);

    Device& m_Device;
    TapeReader m_Tape;
    std::wstring m_sFolder;
    bool m_bReplace;
    std::string m_sCurrent; // what a problem is about
    std::uint32_t m_uiRestored = 0;
    std::uint64_t m_uiRestoredBytes = 0;
    std::uint32_t m_uiProblems = 0;
};
