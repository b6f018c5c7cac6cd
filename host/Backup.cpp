#include "host/Backup.h"

#include "host/Console.h"
#include "host/Progress.h"
#include "host/TapeReader.h"
#include "host/TapeWriter.h"
#include "host/VersionTime.h"

#include <algorithm>

namespace {

std::uint64_t TotalSize(const std::vector<SourceFile>& Sources)
{
    std::uint64_t uiTotal = 0;
    for (const SourceFile& Source : Sources)
        uiTotal += Source.Size();
    return uiTotal;
}

// A version is named by the second in which it is begun: two of the same second would be one.
void WaitForUnusedSecond(const std::vector<std::time_t>& Versions)
{
    constexpr DWORD INTERVAL_MS = 20;
    while (std::ranges::find(Versions, std::time(nullptr)) != Versions.end())
        Sleep(INTERVAL_MS);
}

void WarnOfLaterVersions(const std::vector<std::time_t>& Versions)
{
    if (!Versions.empty() && Versions.back() > std::time(nullptr))
        Err().WriteLine("Note: the newest backup on the server, of " + VersionText(Versions.back()) +
                        ", lies in the future by this computer's clock, and stays the newest.");
}

Sha256Digest WriteData(TapeWriter& Tape, SourceFile& Source, Progress& Shown)
{
    Sha256 Hash;
    Block Buffer(REQUEST_SIZE);
    std::uint64_t uiLeft = Source.Size();
    do
    {
        const std::size_t uiPiece = std::min<std::uint64_t>(uiLeft, Buffer.size());
        const std::span<std::byte> Piece = std::span(Buffer).first(uiPiece);
        Source.ReadNext(Piece);
        Hash.Add(Piece);
        Tape.WriteData(Buffer, uiPiece);
        Shown.Advance(uiPiece);
        uiLeft -= uiPiece;
    } while (uiLeft != 0);
    Source.CheckUnchanged();
    Tape.EndData();
    return Hash.Finish();
}

} // namespace

Backup::Backup(Device& Drive, std::vector<SourceFile>& Sources) : m_Device(Drive), m_Sources(Sources)
{
    FillWithRandom(m_Volume.Id);
    m_Volume.uiFiles = static_cast<std::uint32_t>(Sources.size());
    m_Volume.uiBytes = TotalSize(Sources);
}

std::string Backup::Contents() const
{
    return CountText(m_Volume.uiFiles) + ", " + SizeText(m_Volume.uiBytes);
}

void Backup::Write()
{
    m_Device.Rewind();
    WarnOfLaterVersions(m_Device.Versions());
    WaitForUnusedSecond(m_Device.Versions());
    TapeWriter Tape(m_Device);
    Tape.WriteRecord(m_Volume);
    m_tVersion = m_Device.Versions().back();
    Progress Shown(m_Volume.uiBytes);
    for (SourceFile& Source : m_Sources)
        WriteFile(Tape, Source, Shown);
}

void Backup::WriteFile(TapeWriter& Tape, SourceFile& Source, Progress& Shown)
{
    Shown.Begin(Source.TapeName());
    const std::uint64_t uiBefore = Shown.Bytes();
    const auto uiNumber = static_cast<std::uint32_t>(m_Written.size() + 1);
    try
    {
        const AreaHeader Header{.Id = m_Volume.Id,
                                .uiNumber = uiNumber,
                                .uiSize = Source.Size(),
                                .uiModified = Source.Modified(),
                                .sName = Source.TapeName()};
        Tape.WriteRecord(Header);
        const Sha256Digest Digest = WriteData(Tape, Source, Shown);
        Tape.WriteRecord(
            Trailer{.Id = Header.Id, .uiNumber = uiNumber, .uiSize = Header.uiSize, .Digest = Digest});
        m_Written.push_back({Header, Digest});
    }
    catch (const std::exception& Error)
    {
        throw std::runtime_error("\"" + Source.TapeName() + "\", file " + std::to_string(uiNumber) + " of " +
                                 std::to_string(m_Volume.uiFiles) + ", after " +
                                 std::to_string(Shown.Bytes() - uiBefore) + " of " +
                                 std::to_string(Source.Size()) + " bytes were handed over: " + Error.what());
    }
}

void Backup::Verify()
{
    m_Device.ChooseVersion(m_tVersion);
    m_Device.Rewind();
    TapeReader Tape(m_Device);
    if (Tape.ReadVolumeHeader() != m_Volume)
        throw TapeError("the server presents another backup than the one just written");
    Progress Shown(m_Volume.uiBytes);
    for (const WrittenFile& File : m_Written)
    {
        Shown.Begin(File.Header.sName);
        const AreaHeader Header = Tape.ReadAreaHeader(File.Header.uiNumber);
        const auto Advance = [&](std::span<const std::byte> Data) { Shown.Advance(Data.size()); };
        if (Header != File.Header || Tape.ReadData(Header, Advance) != File.Digest)
            throw TapeError("\"" + File.Header.sName + "\" differs from what was written");
    }
    Tape.CheckEnd();
}
