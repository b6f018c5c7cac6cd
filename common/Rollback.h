#pragma once

#include <utility>

namespace quorvel {

// Puts a value back as it was, unless Complete() was called.
template <typename Value> class Rollback
{
public:
    explicit Rollback(Value& value) : m_Value(value), m_Before(value) {}
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    ~Rollback()
    {
        if (!m_bComplete)
            m_Value = std::move(m_Before);
    }
    void Complete() { m_bComplete = true; }

private:
    Value& m_Value;
    Value m_Before;
    bool m_bComplete = false;
};

} // namespace quorvel
