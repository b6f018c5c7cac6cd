#include "host/Versions.h"

#include "host/Hash.h"

#include <algorithm>
#include <array>

namespace {

std::vector<std::time_t> RequireVersions(Session& Current)
{
    std::vector<std::time_t> Versions = Current.Drive().Versions();
    if (Versions.empty())
        throw std::runtime_error("There is no backup at " + Describe(Current.Target()) +
                                 ". Check the root: if it did not exist, it was created just now.");
    return Versions;
}

// A version that cannot be read must not cost the others, unless the server is gone. After a failure it is opened
// again, since only the connection may have broken.
std::optional<Volume> TryVersion(Session& Current, std::time_t tVersion)
{
    std::string sProblem;
    for (int iTry = 0; iTry < Session::MAX_TRIES; ++iTry)
    {
        try
        {
            Current.Open(tVersion);
            return LookAt(Current);
        }
        catch (const DeviceError& Error)
        {
            sProblem = Error.what();
        }
        catch (const UnknownFormat& Error)
        {
            sProblem = Error.what();
            iTry = Session::MAX_TRIES;
        }
        Current.Patiently([&] { Current.Open(); });
    }
    Complain("{}  UNREADABLE: {}", VersionText(tVersion), sProblem);
    return std::nullopt;
}

// Whether a restore would report damage. A backup that was not ended is not damaged.
bool IsDamaged(const Volume& Tape)
{
    return !Tape.sProblem.empty() || (Tape.Complete() && !Tape.Header.Intact());
}

} // namespace

std::string ComputerName()
{
    std::array<wchar_t, 256> aName{};
    DWORD dwSize = aName.size();
    return GetComputerNameExW(ComputerNameDnsHostname, aName.data(), &dwSize) ? ToUtf8(aName.data()) : "";
}

std::time_t BeginVersion(Session& Current, Head Header)
{
    return Current.Patiently([&] {
        Device& Drive = Current.Drive();
        const std::vector<std::time_t> Versions = Drive.Versions();
        std::time_t tNow = std::time(nullptr);
        if (!Versions.empty() && Versions.back() > tNow)
            Complain("Note: the newest backup on the server, of {}, lies in the future by this computer's "
                     "clock. A restore will take it for the newest one: check the clock.",
                     VersionText(Versions.back()));
        // A version is named by the local time of its beginning. Two of the same second, or of the hour that comes
        // twice in autumn, would be one.
        for (; std::ranges::find(Versions, VersionText(tNow), VersionText) != Versions.end();
             tNow = std::time(nullptr))
            Pause(1);
        Header.computer = ComputerName();
        Drive.BeginVersion();
        WriteRecord(Drive, ToLine(Header));
        const std::time_t tVersion = Drive.Versions().back();
        Current.Open(tVersion);
        CheckVersion(Current, Header.id);
        return tVersion;
    });
}

void CheckVersion(Session& Current, const std::string& sId)
{
    const std::optional<Record> Header = ReadRecord(Current, VOLUME_HEADER);
    if (Header && !Header->Intact())
        throw TapeError("the version that was just begun cannot be read back: its volume header " +
                        Header->sProblem);
    if (!Header || Header->First.id != sId)
        throw TapeError(
            "the server's listing does not show the version that was just begun. A server that hides "
            "folders, or shows them late, cannot be used");
}

std::string StateText(const Volume& Tape)
{
    const Head& Facts = Tape.Facts().First;
    const char* const pState = Tape.Header.First.zdv == RecordKind::Check ? "check"
                               : !Tape.sProblem.empty()                   ? "DAMAGED"
                               : !Tape.Complete()                         ? "INCOMPLETE"
                               : Tape.Header.Intact()                     ? "complete"
                                                                          : "complete, header damaged";
    std::string sText = fmt::format("{:<10}  {}", pState,
                                    Tape.Facts().Intact() ? Printable(Facts.computer) : "unknown computer");
    if (Tape.Last.Intact())
        sText += fmt::format("  {}, {}", CountText(Facts.files, "file"), SizeText(Facts.bytes));
    if (Facts.problems != 0)
        sText += ", " + CountText(Facts.problems, "problem");
    for (const std::string& sPath : Tape.Header.First.paths)
        sText += "  " + Quoted(sPath);
    return sText;
}

ChosenVersion OpenVersion(Session& Current, std::optional<std::time_t> tAt)
{
    std::vector<std::time_t> Versions = RequireVersions(Current);
    if (tAt && Versions.front() > *tAt)
        throw std::runtime_error(fmt::format("There is no backup of {} or earlier: the oldest is of {}.",
                                             VersionText(*tAt), VersionText(Versions.front())));
    if (tAt)
        Versions.erase(std::ranges::upper_bound(Versions, *tAt), Versions.end());
    for (; !Versions.empty(); Versions.pop_back())
    {
        const std::time_t tVersion = Versions.back();
        std::optional<Volume> Tape = TryVersion(Current, tVersion);
        const bool bAsked = tAt && VersionText(tVersion) == VersionText(*tAt);
        if (Tape && (Tape->Complete() || bAsked))
            return {tVersion, *std::move(Tape)};
        if (bAsked)
            throw std::runtime_error(
                "This version cannot be read. To read an older one, give an earlier --at.");
        if (!tAt && (!Tape || !Tape->sProblem.empty())) // it may be the one that is wanted
            throw std::runtime_error(fmt::format("The version of {} {}. No other one is read unless you "
                                                 "choose it: give --at with its date and "
                                                 "time, as \"zdv versions\" shows them.",
                                                 VersionText(tVersion),
                                                 Tape ? "is DAMAGED: " + Tape->sProblem : "cannot be read"));
        if (Tape && Tape->Header.First.zdv != RecordKind::Check)
            Complain("Passed over: {}  {}", VersionText(tVersion), StateText(*Tape));
    }
    throw std::runtime_error(
        "There is no complete backup. To read an INCOMPLETE one, give --at with its date and time, as \"zdv "
        "versions\" shows them.");
}

ExitCode ShowVersions(Session& Current)
{
    ExitCode enCode = ExitCode::Done;
    for (const std::time_t tVersion : RequireVersions(Current))
    {
        const std::optional<Volume> Tape = TryVersion(Current, tVersion);
        if (Tape)
            Say("{}  {}", VersionText(tVersion), StateText(*Tape));
        if (!Tape || IsDamaged(*Tape))
            enCode = ExitCode::DataDiffers;
    }
    return enCode;
}

void CheckByWriting(Session& Current)
{
    const ULONGLONG uiStart = GetTickCount64();
    const std::time_t tVersion = BeginVersion(Current, {.zdv = RecordKind::Check, .id = RandomId()});
    const std::uint64_t uiMilliseconds = std::max<std::uint64_t>(GetTickCount64() - uiStart, 1);
    Say("Written, found again and read back: a version of one block, of {}, in {} ms, {}/s. It stays on the "
        "server until you remove it.",
        VersionText(tVersion), uiMilliseconds,
        SizeText(ZDV_BLOCK_SIZE * std::uint64_t{1000} / uiMilliseconds));
}
