#pragma once

#include "host/Device.h"
#include "host/Progress.h"
#include "host/SourceFiles.h"
#include "host/TapeFormat.h"
#include "host/TapeWriter.h"

// One new version on the server: written, and read back when that is wanted.
class Backup
{
public:
    Backup(Device& Drive, std::vector<SourceFile>& Sources);

    std::string Contents() const; // "3 files, 1.5 MiB"

    void Write();
    std::time_t Version() const { return m_tVersion; } // of what was written

    void Verify(); // against what was handed over, and against the trailers

private:
    struct WrittenFile
    {
        AreaHeader Header;
        Sha256Digest Digest;
    };

    void WriteFile(TapeWriter& Tape, SourceFile& Source, Progress& Shown);

    Device& m_Device;
    std::vector<SourceFile>& m_Sources;
    VolumeHeader m_Volume{};
    std::time_t m_tVersion = 0;
    std::vector<WrittenFile> m_Written;
};
