#pragma once

#include "common/Text.h"
#include "common/Trace.h"

#include <exception>
#include <type_traits>

namespace quorvel {

inline constexpr const wchar_t* ENDING = L"... ending";

// The trace log seen from one function: writes lines under that function's name, or under that of a place in it,
// such as "ZDV_Position : .. ending". Never throws, so that tracing is safe in destructors, worker threads and
// callbacks: if there is no memory or no file for a line, the line is lost.
class FunctionTrace
{
public:
    explicit FunctionTrace(const wchar_t* pFunction) : m_pFunction(pFunction) {}

    static FunctionTrace Started(const wchar_t* pFunction)
    {
        const FunctionTrace Trace(pFunction);
        Trace.Starting();
        return Trace;
    }
    FunctionTrace At(const wchar_t* pPlace) const
    {
        FunctionTrace Trace(m_pFunction);
        Trace.m_pPlace = pPlace;
        return Trace;
    }

    const wchar_t* Name() const { return m_pFunction; }

    void Starting() const { Verbose(L"starting ..."); }
    void Ending() const { Verbose(ENDING); }

    void Error(const wchar_t* pMessage) const { Message(Level::Error, pMessage); }
    // An early end: always false.
    bool Failed(const wchar_t* pEnding) const
    {
        Error(pEnding);
        return false;
    }
    void Warning(const wchar_t* pMessage) const { Message(Level::Warning, pMessage); }
    void Information(const wchar_t* pMessage) const { Message(Level::Information, pMessage); }
    void Verbose(const wchar_t* pMessage) const { Message(Level::Verbose, pMessage); }

    // The exception being handled. For catch blocks only.
    void Exception() const noexcept;

    // A variable; verbose unless the level is given.
    template <typename Char> void Text(Level enLevel, const wchar_t* pName, const Char* pValue) const
    {
        Write(enLevel, [&](const wchar_t* pCaller) { g_Trace.Text(enLevel, pCaller, pName, pValue); });
    }
    template <typename Char>
    void Text(Level enLevel, const wchar_t* pName, const std::basic_string<Char>& sValue) const
    {
        Text(enLevel, pName, sValue.c_str());
    }
    template <typename Value> void Text(const wchar_t* pName, const Value& value) const
    {
        Text(Level::Verbose, pName, value);
    }
    template <typename Value> void Number(Level enLevel, const wchar_t* pName, Value value) const
    {
        using Unsigned = std::conditional_t<sizeof(Value) == 4, std::uint32_t, std::uint64_t>;
        using Traced = std::conditional_t<std::is_signed_v<Value>, std::int64_t, Unsigned>;
        Write(enLevel, [&](const wchar_t* pCaller) {
            g_Trace.Number(enLevel, pCaller, pName, static_cast<Traced>(value));
        });
    }
    template <typename Value> void Number(const wchar_t* pName, Value value) const
    {
        Number(Level::Verbose, pName, value);
    }
    // A server, a root or a URL, without what may be a password.
    template <typename Char> void Location(const wchar_t* pName, const Char* pValue) const
    {
        if (pValue == nullptr)
            return Text(Level::Verbose, pName, pValue);
        Write(Level::Verbose, [&](const wchar_t* pCaller) {
            g_Trace.Text(Level::Verbose, pCaller, pName, WithoutPassword(pValue).c_str());
        });
    }
    void Location(const wchar_t* pName, const std::wstring& sValue) const { Location(pName, sValue.c_str()); }
    void Status(std::uint32_t uiRc) const
    {
        Write(Level::Verbose,
              [&](const wchar_t* pCaller) { g_Trace.Hexadecimal(Level::Verbose, pCaller, L"uiRc", uiRc); });
    }

private:
    void Message(Level enLevel, const wchar_t* pMessage) const
    {
        Write(enLevel, [&](const wchar_t* pCaller) { g_Trace.Message(enLevel, pCaller, pMessage); });
    }

    template <typename WriteLine> void Write(Level enLevel, const WriteLine& writeLine) const noexcept
    {
        if (!g_Trace.IsEnabled(enLevel))
            return;
        try
        {
            if (m_pPlace == nullptr)
                writeLine(m_pFunction);
            else
                writeLine((std::wstring(m_pFunction) + L" : " + m_pPlace).c_str());
        }
        catch (const std::exception&)
        {
            return; // there is nowhere to report it
        }
    }

    const wchar_t* m_pFunction;
    const wchar_t* m_pPlace = nullptr;
};

} // namespace quorvel
