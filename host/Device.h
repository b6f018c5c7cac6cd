// The tape drive: one open handle of the module, one method per verb. Every status is checked; what is not a
// normal outcome is thrown.
#pragma once

#include "host/Module.h"

#include <cstddef>
#include <ctime>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// A verb failed. The text says which one, and why in the module's own words.
class DeviceError : public std::runtime_error
{
public:
    DeviceError(const std::string& sText, std::uint32_t uiCode) : std::runtime_error(sText), m_uiCode(uiCode)
    {
    }

    // A libcurl result or a Windows error number, 0 if unknown.
    std::uint32_t Code() const { return m_uiCode; }

private:
    std::uint32_t m_uiCode;
};

enum class ReadResult
{
    Filled,     // all that was asked for
    Filemark,   // the object ended; how much of the request was filled is not known
    EndOfMedia, // no such object
};

class Device
{
public:
    explicit Device(const Module& Functions);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device(); // completes an upload that still runs

    void SetOption(std::int32_t iKey, const std::wstring& sValue);
    void MakeReady();

    // The dates of the versions, oldest first; a version written through this device comes last.
    std::vector<std::time_t> Versions() const;

    // The next rewind loads the newest version not later than this.
    void ChooseVersion(std::time_t tVersion);

    void Rewind();              // to the beginning of the medium; the next write starts a new version
    void AskServerAgain();      // ends the object, loads the version again and stays behind the object
    void LeaveObject();         // ends the object and stands behind it, whatever was read of it
    void Skip(std::uint32_t n); // over so many objects, from behind an object

    void Write(std::span<const std::byte> Blocks);
    void WriteFilemark(); // ends the object: its upload is complete, or this throws
    ReadResult Read(std::span<std::byte> Blocks);

private:
    void Check(ZDV_STATUS uiStatus, const char* pAction) const;
    void CheckTransfer(const char* pAction) const;
    [[noreturn]] void Fail(ZDV_STATUS uiStatus, const char* pAction) const;
    std::uint32_t LastErrorCode() const;
    std::string LastErrorText() const;

    const Module& m_Module;
    ZDV_HANDLE m_Handle = 0;
};
