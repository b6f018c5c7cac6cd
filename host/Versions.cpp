#include "host/Versions.h"

#include "host/Hash.h"
#include "host/Progress.h"
#include "host/Utf8.h"

#include <algorithm>
#include <array>

namespace {

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

std::vector<std::time_t> ListVersions(Session& Server)
{
    Server.Open();
    std::vector<std::time_t> Versions = Server.Drive().Versions();
    if (Versions.empty())
        throw std::runtime_error("There is no backup at " + Describe(Server.Target()) +
                                 ". If this root did not exist, it was created just now: check its name.");
    return Versions;
}

} // namespace

std::string ComputerName()
{
    std::array<wchar_t, 256> aName{};
    DWORD dwSize = aName.size();
    return GetComputerNameExW(ComputerNameDnsHostname, aName.data(), &dwSize) ? ToUtf8(aName.data()) : "";
}

std::time_t BeginVersion(Session& Server, Json Header)
{
    Device& Drive = Server.Drive();
    WarnOfLaterVersions(Drive.Versions());
    WaitForUnusedSecond(Drive.Versions());
    const std::time_t tNow = std::time(nullptr);
    Header["format"] = 1;
    Header["program"] = PROGRAM;
    Header["computer"] = ComputerName();
    Header["started"] = VersionText(tNow);
    Header["zone"] = ZoneMinutes(tNow);
    Drive.BeginVersion();
    WriteRecord(Drive, Header.dump() + '\n');
    const std::time_t tVersion = Drive.Versions().back();
    Server.Open(tVersion);
    CheckVersion(Server, Header.at("id"));
    return tVersion;
}

void CheckVersion(Session& Server, const std::string& sId)
{
    const std::optional<Record> Header = ReadRecord(Server, VOLUME_HEADER);
    if (!Header || Header->Text("id") != sId)
        throw TapeError("the version that was begun is not found again in the server's listing: it names no "
                        "folders, or not at once");
}

std::string StateText(const Volume& Tape)
{
    const Record& Facts = Tape.Last.bIntact ? Tape.Last : Tape.Header;
    const std::string sComputer = Facts.bIntact ? Facts.Text("computer") : "unknown computer";
    if (Tape.Header.Text("zdv") == "check")
        return "check       " + Printable(sComputer);
    std::string sText = (Tape.Complete() ? "complete    " : "INCOMPLETE  ") + Printable(sComputer);
    if (Tape.Last.bIntact)
        sText += "  " + CountText(Facts.Number("files")) + ", " + SizeText(Facts.Number("bytes"));
    return sText;
}

ChosenVersion OpenVersion(Session& Server, std::optional<std::time_t> tAt)
{
    std::vector<std::time_t> Versions = ListVersions(Server);
    if (tAt && Versions.front() > *tAt)
        throw std::runtime_error("There is no backup of " + VersionText(*tAt) +
                                 " or earlier: the oldest is of " + VersionText(Versions.front()) + ".");
    if (tAt)
        Versions.erase(std::ranges::upper_bound(Versions, *tAt), Versions.end());
    for (; !Versions.empty(); Versions.pop_back())
    {
        const std::time_t tVersion = Versions.back();
        Server.Open(tVersion);
        ChosenVersion Found{tVersion, LookAt(Server)};
        if (Found.Tape.Complete() || tVersion == tAt)
            return Found;
        if (Found.Tape.Header.Text("zdv") != "check")
            Err().WriteLine("Passed over: " + VersionText(tVersion) + "  " + StateText(Found.Tape));
    }
    throw std::runtime_error(
        "There is no complete backup. One that is not is read when --at is given its very time.");
}

void ShowVersions(Session& Server)
{
    for (const std::time_t tVersion : ListVersions(Server))
    {
        Server.Open(tVersion);
        Out().WriteLine(VersionText(tVersion) + "  " + StateText(LookAt(Server)));
    }
}

void CheckByWriting(Session& Server)
{
    const ULONGLONG uiStart = GetTickCount64();
    const std::time_t tVersion = BeginVersion(Server, {{"zdv", "check"}, {"id", RandomId()}});
    const std::uint64_t uiMilliseconds = std::max<std::uint64_t>(GetTickCount64() - uiStart, 1);
    Out().WriteLine("Written, found again and read back: a version of one block, of " +
                    VersionText(tVersion) + ", in " + std::to_string(uiMilliseconds) + " ms, " +
                    SizeText(ZDV_BLOCK_SIZE * std::uint64_t{1000} / uiMilliseconds) + "/s. It stays there.");
}
