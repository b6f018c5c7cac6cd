// The trace log: one text file in the product's log folder, UTF-8, one line per event:
//
//   [2024-05-01 09:03:07.045]:01fc:[V]: ZDV_Position : starting ...
//   [2024-05-01 09:03:07.046]:01fc:[V]: ZDV_Position : iBlocks = -1
//
// Each load of the DLL begins a new file and keeps the previous one as ".old". The file is opened and closed for every
// line: nothing is lost when the process dies, and anybody may read, copy or delete the file at any time.
#pragma once

#include "common/Mutex.h"

#include <atomic>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace quorvel {

enum class Level : std::uint32_t
{
    Error = 1,
    Warning = 2,
    Information = 4,
    Verbose = 8
};

// Fixed by the interface: the order of the virtual operations, with those that this module does not call.
class CTrace
{
public:
    CTrace();
    CTrace(const CTrace&) = delete;
    CTrace& operator=(const CTrace&) = delete;
    virtual ~CTrace();

    // The folder that holds the log; looked up and created on first use.
    virtual const std::wstring& LogFolder();
    virtual const std::wstring& FilePath() const;
    virtual std::wstring ProgramFolder() const;
    virtual void SetLevelMask(std::uint32_t uiMask);
    // Sets the level mask from "trace.ini".
    virtual void ReadLevel();
    virtual bool DeleteOldFile() const;

    // A message line: function name, " : ", message.
    virtual void Message(Level enLevel, const char* pFunction, const char* pMessage);
    virtual void Message(Level enLevel, const wchar_t* pFunction, const char* pMessage);
    virtual void Message(Level enLevel, const wchar_t* pFunction, const wchar_t* pMessage);

    // A variable line: function name, " : ", variable name, " = " and the value. Texts are quoted, and
    // their control characters named, so that a value cannot forge a line.
    virtual void Character(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, wchar_t cValue);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                      const std::wstring& sValue);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const wchar_t* pValue);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const char* pValue);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                      const std::string& sValue);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const char* pValue,
                      std::size_t uiLength);
    virtual void Text(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                      const std::uint8_t* pValue, std::size_t uiLength);
    virtual void Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint32_t uiValue);
    virtual void Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                        std::uint64_t ullValue);
    virtual void Number(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::int64_t llValue);
    virtual void Hexadecimal(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                             std::uint32_t uiValue);
    virtual void Truth(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::uint8_t uiValue);
    virtual void Truth(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, std::int32_t iValue);
    virtual void Pointer(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const void* pValue);
    virtual void Real(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, double dValue);
    virtual void Bytes(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                       const std::uint8_t* pValue, std::size_t uiLength);
    virtual void Invalid(Level enLevel, const wchar_t* pFunction, const wchar_t* pName);
    virtual void IPv6(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                      const std::uint8_t* pBytes, std::size_t uiLength);
    virtual void IPv6(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                      const std::string& sBytes);
    virtual void Guid(Level enLevel, const wchar_t* pFunction, const wchar_t* pName, const GUID& Value);
    virtual void DateTime(Level enLevel, const wchar_t* pFunction, const wchar_t* pName,
                          const SYSTEMTIME& Value);

    // False if a thread was killed in the middle of a line, as a host's other threads are at the end of its process:
    // the next line would then wait for ever.
    bool CanWrite();
    bool IsEnabled(Level enLevel) const { return (m_uiLevelMask & static_cast<std::uint32_t>(enLevel)) != 0; }

private:
    std::wstring OldFilePath() const;
    void KeepPreviousFile() const;
    void WriteLine(Level enLevel, std::wstring_view sFunction, std::wstring_view sBody);
    void WriteVariable(Level enLevel, std::wstring_view sFunction, std::wstring_view sName,
                       std::wstring_view sValue);

    std::atomic<std::uint32_t> m_uiLevelMask; // read without the lock
    std::wofstream m_Stream;
    Mutex m_Lock;
    std::uint32_t m_uiEnvironment = 0;
    std::wstring m_sFileName;
    std::wstring m_sLevelKey;
    std::wstring m_sFilePath;
    std::wstring m_sFolder;
};

// The module's one trace log.
extern CTrace g_Trace;

} // namespace quorvel
