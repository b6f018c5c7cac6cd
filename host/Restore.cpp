#include "host/Restore.h"

#include "host/Console.h"
#include "host/RestoredFile.h"
#include "host/TapeName.h"

Restore::Restore(Device& Drive, const std::wstring& sFolder, bool bReplace)
    : m_Device(Drive), m_Tape(Drive), m_sFolder(FullPath(sFolder)), m_bReplace(bReplace)
{
}

void Restore::Run(std::time_t tVersion)
{
    m_Device.ChooseVersion(tVersion);
    m_Device.Rewind();
    const VolumeHeader Volume = m_Tape.ReadVolumeHeader();
    Progress Shown(Volume.uiBytes);
    for (std::uint32_t uiFile = 1; uiFile <= Volume.uiFiles; ++uiFile)
    {
        m_sCurrent = "file " + std::to_string(uiFile) + " of " + std::to_string(Volume.uiFiles);
        Attempt(Shown, [&] { RestoreFile(uiFile, Shown); });
    }
    m_sCurrent = "the end of the backup";
    Attempt(Shown, [&] { m_Tape.CheckEnd(); });
}

// One damaged or unreadable object must not cost the files behind it; a server that is gone ends it all.
template <typename Step> void Restore::Attempt(Progress& Shown, Step step)
{
    const auto Report = [&](const std::exception& Error) {
        Shown.Hide();
        Err().WriteLine("Not restored, " + m_sCurrent + ": " + Error.what());
        ++m_uiProblems;
    };
    try
    {
        step();
    }
    catch (const DeviceError& Error)
    {
        Report(Error);
        m_Device.AskServerAgain();
    }
    catch (const std::exception& Error)
    {
        Report(Error);
    }
}

void Restore::RestoreFile(std::uint32_t uiFile, Progress& Shown)
{
    const AreaHeader Header = m_Tape.ReadAreaHeader(uiFile);
    m_sCurrent += ", \"" + Header.sName + "\"";
    Shown.Begin(Header.sName);
    RestoredFile File(PathIn(m_sFolder, RelativePath(Header.sName)), m_bReplace);
    m_Tape.ReadData(Header, [&](std::span<const std::byte> Data) {
        File.Write(Data);
        Shown.Advance(Data.size());
    });
    File.Commit(Header.uiModified);
    ++m_uiRestored;
    m_uiRestoredBytes += Header.uiSize;
}

std::string Restore::Summary() const
{
    const std::string sProblems =
        Complete() ? "."
                   : "; " + std::to_string(m_uiProblems) + (m_uiProblems == 1 ? " problem." : " problems.");
    return "Restored " + CountText(m_uiRestored) + ", " + SizeText(m_uiRestoredBytes) + ", into \"" +
           DisplayPath(m_sFolder) + "\"" + sProblems;
}
