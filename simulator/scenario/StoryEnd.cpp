#include "Story.h"

#include <cstdio>

// When a story is over: its last event has happened or was passed over, and no expectation waits for anything more.

namespace CIM::sim
{
void TCStory::m_AtEnd()
{
    std::string waits;
    bool isLimited = false;
    for (TCWatch& watch : m_watches)
    {
        if (watch.State() != TCWatch::OPEN)
        {
            continue;
        }
        const bool isWindow = watch.Expectation().withinMs.has_value();
        if (m_isEnding || (m_isTimeOver && !isWindow && !watch.HasEnough()))
        {
            if (!m_Close(watch, m_isEnding ? "before the application ended"
                                           : "within " + std::to_string(m_options.stepMs) + " ms of the last event"))
            {
                return;
            }
        }
        else if (isWindow || !watch.HasEnough())
        {
            waits = watch.Expectation().says;
            isLimited = isLimited || !isWindow;
        }
    }
    if (waits.empty())
    {
        m_Finish();
        return;
    }
    m_Tell(waits);
    if (isLimited)
    {
        m_LimitTo(std::nullopt);
    }
    m_Nudge();
}

void TCStory::m_End()
{
    m_isProceeding = false;
    m_Proceed();
    if (!m_hasFailed && !m_isOver && !m_hasBegun)
    {
        m_FailEvent(m_Events().front(), "the application ended before the daemon was ready");
    }
}

void TCStory::m_Finish()
{
    for (TCWatch& watch : m_watches)
    {
        watch.Close();
    }
    m_Progress("");
    for (std::size_t i = 0; i < m_passedOver.size(); ++i)
    {
        if (!m_passedOver[i].empty())
        {
            std::fprintf(stderr, "ci-daemon-sim: not played: %s: %s\n", m_Step(i).c_str(), m_passedOver[i].c_str());
        }
    }
    m_Over();
    m_nudge = 0;
    m_Nudge();
}
} // namespace CIM::sim
