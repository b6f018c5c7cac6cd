#pragma once

#include "common/Text.h"
#include "interface/zdv.h"

#include <gtest/gtest.h>
#include <string>

// The narrow and the wide exports, for tests that hold for both.
struct Narrow
{
    using Char = char;
    static constexpr auto GetOptions = &ZDV_GetDeviceOptions;
    static constexpr auto SetOptions = &ZDV_SetDeviceOptions;
    static constexpr auto GetInfo = &ZDV_GetInfo;
    static constexpr auto GetModuleProperty = &ZDV_GetModuleProperty;
    static std::string Text(const std::string& sText) { return sText; }
};

struct Wide
{
    using Char = wchar_t;
    static constexpr auto GetOptions = &ZDV_GetDeviceOptionsW;
    static constexpr auto SetOptions = &ZDV_SetDeviceOptionsW;
    static constexpr auto GetInfo = &ZDV_GetInfoW;
    static constexpr auto GetModuleProperty = &ZDV_GetModulePropertyW;
    static std::wstring Text(const std::string& sText) { return quorvel::Widen(sText); }
};

using BothWidths = testing::Types<Narrow, Wide>;

// A caller's buffer. What a call has not written still holds "~".
template <typename Char> class Buffer
{
public:
    operator Char*() { return m_sBuffer.data(); }
    std::size_t Written() const { return m_sBuffer.find_last_not_of(Char{'~'}) + 1; }
    std::string Text() const
    {
        const std::basic_string_view<Char> sText(m_sBuffer.c_str());
        return {sText.begin(), sText.end()};
    }

private:
    std::basic_string<Char> m_sBuffer = std::basic_string<Char>(64, Char{'~'});
};

inline const std::string UNTOUCHED(64, '~');
