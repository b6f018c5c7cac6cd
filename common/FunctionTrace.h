#pragma once

#include "common/Text.h"
#include "common/Trace.h"

#include <exception>

namespace quorvel {

// The trace log seen from one function: writes lines under that function's name, or under a composite such
// as "ZDV_Position : .. ending". Never throws, so that tracing is safe in destructors, worker threads and
// callbacks: a line that there is no memory for is lost, like one that there is no file for.
class FunctionTrace
{
public:
    explicit FunctionTrace(const wchar_t* pFunction) : m_pFunction(pFunction) {}

    const wchar_t* Name() const { return m_pFunction; }

    void Starting() const { Verbose(L"starting ..."); }
    void Ending() const { Verbose(L"... ending"); }

    void Error(const wchar_t* pMessage) const { Message(Level::Error, pMessage); }
    void Warning(const wchar_t* pMessage) const { Message(Level::Warning, pMessage); }
    void Information(const wchar_t* pMessage) const { Message(Level::Information, pMessage); }
    void Verbose(const wchar_t* pMessage) const { Message(Level::Verbose, pMessage); }

    template <typename Char> void Text(Level enLevel, const wchar_t* pName, const Char* pValue) const
    {
        Write([&] { g_Trace.Text(enLevel, m_pFunction, pName, pValue); });
    }
    template <typename Char>
    void Text(Level enLevel, const wchar_t* pName, const std::basic_string<Char>& sValue) const
    {
        Text(enLevel, pName, sValue.c_str());
    }
    template <typename Value> void Number(Level enLevel, const wchar_t* pName, Value value) const
    {
        Write([&] { g_Trace.Number(enLevel, m_pFunction, pName, value); });
    }
    void Number(Level enLevel, const wchar_t* pName, std::int32_t iValue) const
    {
        Number(enLevel, pName, static_cast<std::int64_t>(iValue));
    }
    void Number(Level enLevel, const wchar_t* pName, DWORD dwValue) const
    {
        Number(enLevel, pName, static_cast<std::uint32_t>(dwValue));
    }
    // A server, a root or a URL, as far as it may be traced.
    template <typename Char> void Location(const wchar_t* pName, const Char* pValue) const
    {
        if (pValue == nullptr)
            Text(Level::Verbose, pName, pValue);
        else if (g_Trace.IsEnabled(Level::Verbose))
            Write([&] { g_Trace.Text(Level::Verbose, m_pFunction, pName, WithoutPassword(pValue).c_str()); });
    }
    void Location(const wchar_t* pName, const std::wstring& sValue) const { Location(pName, sValue.c_str()); }
    void Status(std::uint32_t uiRc) const
    {
        Write([&] { g_Trace.Hexadecimal(Level::Verbose, m_pFunction, L"uiRc", uiRc); });
    }

private:
    void Message(Level enLevel, const wchar_t* pMessage) const
    {
        Write([&] { g_Trace.Message(enLevel, m_pFunction, pMessage); });
    }

    template <typename WriteLine> static void Write(const WriteLine& writeLine) noexcept
    {
        try
        {
            writeLine();
        }
        catch (const std::exception&)
        {
            return; // there is nowhere else to tell it
        }
    }

    const wchar_t* m_pFunction;
};

} // namespace quorvel
