// The tape drive: the module with one open handle, one method per verb. Every status is checked; what is not a
// normal outcome is thrown.
#pragma once

#include "interface/Module.h"

#include <cstddef>
#include <ctime>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// A verb failed. The text says which one, and why in the module's own words.
struct DeviceError : std::runtime_error
{
    DeviceError(const std::string& sText, std::uint32_t uiError) : std::runtime_error(sText), uiCode(uiError)
    {
    }

    std::uint32_t uiCode; // a libcurl result or a Windows error number, 0 if unknown
};

// What the user typed.
struct Server
{
    std::string sName;
    unsigned uiPort = 0; // chooses the protocol
    std::string sRoot;
    std::string sUser;
};

using Block = std::vector<std::byte>;

enum class ReadResult
{
    Filled,     // all that was asked for
    Filemark,   // the object ended; how much of the request was filled is not known
    EndOfMedia, // no such object
};

class Device
{
public:
    // Loads the module, which lies beside this program, and makes the unit ready with the newest version not later than
    // this time. If there is none, or no time is given, no version is loaded.
    Device(const Server& Target, const std::wstring& sPassword, std::optional<std::time_t> tVersion);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device(); // completes an upload that still runs

    // The dates of the versions, oldest first; a version written through this device comes last.
    std::vector<std::time_t> Versions() const;

    // Positions. An object that is left is ended, however much of it was read.
    void BeginVersion();                     // the next write starts a new version
    void MoveBefore(std::uint32_t uiObject); // the next read starts this object
    void MoveBeforeLast();                   // the next read starts the last object
    void MoveToEnd();                        // the next write appends an object

    void Write(std::span<const std::byte> Blocks);
    void WriteFilemark(); // ends the object: its upload is complete, or this throws
    ReadResult Read(std::span<std::byte> Blocks);

private:
    explicit Device(Module Loaded); // opens it

    void Position(std::uint32_t uiMode, std::int32_t iCount, const char* pAction);
    void Check(ZDV_STATUS uiStatus, const char* pAction) const;
    void CheckTransfer(const char* pAction) const;
    std::uint32_t LastErrorCode() const;

    Module m_Module;
    ZDV_HANDLE m_Handle = 0;
    std::optional<std::uint32_t> m_uiObject = 0; // the one that was begun last, if known
    bool m_bBegun = false;                       // reading, since the tape was positioned
};
