// Reads one version: all of it or what patterns name, into a folder or only to compare it with its manifests.
// What is damaged or missing is reported by name and leaves the rest alone.
#pragma once

#include "host/Archive.h"
#include "host/Progress.h"
#include "host/Target.h"

class Restore
{
public:
    // Without a target nothing is written.
    Restore(Session& Server, const Volume& Tape, const std::vector<std::string>& Patterns,
            TargetFolder* pTarget);

    void Run(); // throws when nothing further can be read
    std::uint64_t Problems() const { return m_uiProblems; }
    std::string Summary() const;

private:
    bool IsWanted(const Entry& Line) const;
    void ReadListed(const Area& From);
    void ReadUnlisted(const Area& From);
    void ReadEntry(ArchiveReader& Archive, const Entry& What);
    void ReadFile(ArchiveReader& Archive, const Entry& What);
    template <typename Step> void Attempt(const std::string& sWhat, Step step);
    void Report(const std::string& sWhat, const std::string& sProblem);

    Session& m_Server;
    const Volume& m_Tape;
    std::vector<std::string> m_Patterns;
    TargetFolder* m_pTarget;
    Progress m_Progress;
    Block m_Piece;
    std::uint64_t m_uiFiles = 0;
    std::uint64_t m_uiOthers = 0;
    std::uint64_t m_uiProblems = 0;
};

// Shows the entries from the manifests alone. Returns the number of problems.
std::uint64_t ShowList(Session& Server, const Volume& Tape, const std::vector<std::string>& Patterns);
