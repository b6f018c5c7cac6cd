// One new version on the server.
#pragma once

#include "host/Archive.h"
#include "host/Progress.h"
#include "host/Source.h"

#include <set>

// What a manifest tells of the backup so far.
struct Totals
{
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t links = 0;
    std::uint64_t bytes = 0;
    std::uint64_t problems = 0; // entries that were not saved as they are
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Totals, files, folders, links, bytes, problems)

class Backup
{
public:
    Backup(Session& Server, const std::vector<std::string>& Paths, SourceTree Tree, std::uint64_t uiAreaSize);

    void Write(); // throws when the version is not complete; not when the user stopped it

    std::string Expected() const { return CountText(m_Expected.files) + ", " + SizeText(m_Expected.bytes); }
    std::time_t Version() const { return m_tVersion; }
    bool Stopped() const { return m_bStopped; }
    std::uint64_t Problems() const { return m_Totals.problems; }
    std::string Summary() const;
    std::string Unsaved() const; // what is never saved, as far as it was met

private:
    void WriteObject(const std::string& sLines);
    void WriteArea();
    void WriteEntry(SourceEntry& Source);
    void WriteData(HANDLE hFile, const SourceEntry& Source, Entry& What);
    void Count(const SourceEntry& Source);
    void CloseBrokenArea();
    std::string Manifest(const char* pState) const;

    Session& m_Server;
    std::vector<std::string> m_Paths;
    std::uint64_t m_uiAreaSize;
    SourceTree m_Tree;
    std::optional<SourceEntry> m_Next;
    Totals m_Expected;
    Totals m_Totals;
    Progress m_Progress;

    std::string m_sId;
    std::time_t m_tVersion = 0;
    std::uint32_t m_uiObject = VOLUME_HEADER; // the one to be written next
    std::set<std::uint32_t> m_Abandoned;
    std::unique_ptr<ArchiveWriter> m_Archive;
    std::string m_sManifest; // the entries of this area
    Block m_Piece;
    bool m_bStopped = false;
    std::uint64_t m_uiEncrypted = 0;
    std::uint64_t m_uiWithStreams = 0;
};
