#include "Watch.h"

namespace CIM::sim
{
void TCWatch::Close()
{
    if (m_state == OPEN)
    {
        m_state = HasEnough() ? MET : UNMET;
    }
}

void TCWatch::PassOver()
{
    if (m_state == CLOSED || (m_state == OPEN && !HasEnough()))
    {
        m_state = PASSED_OVER;
    }
    else if (m_state == OPEN)
    {
        m_state = MET;
    }
}

bool TCWatch::Take(const TSMadeCall& call)
{
    if (m_state != OPEN || !m_expectation->call.Matches(call))
    {
        return true;
    }
    if (++m_count > m_expectation->most)
    {
        m_state = UNMET;
        return false;
    }
    if (HasEnough() && m_expectation->most == UINT_MAX)
    {
        m_state = MET;
    }
    return true;
}
} // namespace CIM::sim
