#pragma once

#include <utility>

namespace quorvel {

// Calls a function when its scope ends, also by an exception.
template <typename Function> class ScopeExit
{
public:
    explicit ScopeExit(Function function) : m_Function(std::move(function)) {}
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;
    ~ScopeExit() { m_Function(); }

private:
    Function m_Function;
};

} // namespace quorvel
