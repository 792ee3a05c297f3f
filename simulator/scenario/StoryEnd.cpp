#include "Story.h"

#include "Tell.h"

// When a story is over: its last event has happened or was passed over, and no expectation waits for anything more.

namespace CIM::sim
{
namespace
{
std::string Behind(const std::string& words) { return words.empty() ? words : ": " + words; }
} // namespace

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
            if (!m_Close(watch, m_isEnding ? "before the application ended" + Behind(m_end.Words())
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
        m_FailEvent(m_Events().front(), m_EndedBefore() + ": the daemon was not ready");
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
            sim::Tell("not played: " + m_Step(i) + ": " + m_passedOver[i]);
        }
    }
    m_Over();
    m_nudge = 0;
    m_Nudge();
}
} // namespace CIM::sim
