#pragma once

#include "common/Trace.h"

namespace quorvel {

// The trace log seen from one function: writes lines under that function's name, or under a composite such
// as "ZDV_Position : .. ending".
class FunctionTrace
{
public:
    explicit FunctionTrace(const wchar_t* pFunction) : m_pFunction(pFunction) {}

    const wchar_t* Name() const { return m_pFunction; }

    void Starting() const { Verbose(L"starting ..."); }
    void Ending() const { Verbose(L"... ending"); }

    template <typename Text> void Error(const Text* pMessage) const { Message(Level::Error, pMessage); }
    template <typename Text> void Warning(const Text* pMessage) const { Message(Level::Warning, pMessage); }
    void Information(const wchar_t* pMessage) const { Message(Level::Information, pMessage); }
    void Verbose(const wchar_t* pMessage) const { Message(Level::Verbose, pMessage); }

    template <typename Value> void Text(Level enLevel, const wchar_t* pName, const Value& value) const
    {
        g_Trace.Text(enLevel, m_pFunction, pName, value);
    }
    template <typename Value> void Number(Level enLevel, const wchar_t* pName, Value value) const
    {
        g_Trace.Number(enLevel, m_pFunction, pName, value);
    }
    void Number(Level enLevel, const wchar_t* pName, std::int32_t iValue) const
    {
        Number(enLevel, pName, static_cast<std::int64_t>(iValue));
    }
    void Number(Level enLevel, const wchar_t* pName, DWORD dwValue) const
    {
        Number(enLevel, pName, static_cast<std::uint32_t>(dwValue));
    }
    void Status(std::uint32_t uiRc) const
    {
        g_Trace.Hexadecimal(Level::Verbose, m_pFunction, L"uiRc", uiRc);
    }

private:
    template <typename Text> void Message(Level enLevel, const Text* pMessage) const
    {
        g_Trace.Message(enLevel, m_pFunction, pMessage);
    }

    const wchar_t* m_pFunction;
};

} // namespace quorvel
