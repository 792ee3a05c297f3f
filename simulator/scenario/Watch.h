#pragma once

#include "Events.h"

namespace CIM::sim
{
/// An expectation while its story is played: counts the calls that come while its window is open.
class TCWatch
{
public:
    enum EState
    {
        CLOSED, ///< its first event has not happened
        OPEN,
        MET,
        UNMET,
        PASSED_OVER,
    };

    /// \param[in] expectation  outlives this
    explicit TCWatch(const TSExpectation& expectation) : m_expectation(&expectation)
    {
        m_state = expectation.after ? CLOSED : OPEN;
    }

    void Open(std::uint64_t calls)
    {
        m_state = OPEN;
        m_begin = calls;
    }
    /// The window ends: met or not.
    void Close();
    /// An event that it is bound to has not been played.
    void PassOver();
    /// \return false when this call should not have come; it is unmet then
    bool Take(const TSMadeCall& call);

    const TSExpectation& Expectation() const { return *m_expectation; }
    EState State() const { return m_state; }
    std::uint64_t Begin() const { return m_begin; }
    unsigned Count() const { return m_count; }
    bool HasEnough() const { return m_count >= m_expectation->least; }

private:
    const TSExpectation* m_expectation;
    EState m_state = CLOSED;
    std::uint64_t m_begin = 0; ///< the number of the first call that counts
    unsigned m_count = 0;
};
} // namespace CIM::sim
