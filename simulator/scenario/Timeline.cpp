#include "Timeline.h"

#include "simulator/model/Model.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_CALLS = 65'536;

/// Whether a step needs something of the application.
bool Expects(const TSStep& step)
{
    return std::holds_alternative<TSWaitForCall>(step.action) ||
           std::holds_alternative<TSWaitForSubscription>(step.action);
}
} // namespace

std::vector<TSPartResult> TCTimeline::m_Results() const
{
    std::vector<TSPartResult> results;
    for (const TSStep& step : m_scenario.timeline)
    {
        const auto index = static_cast<std::size_t>(step.number) - 1;
        TSPartResult result{"step " + std::to_string(step.number) + ": " + step.text, TSPartResult::MET, {}};
        if (m_hasFailed && index == m_next)
        {
            result.state = TSPartResult::UNMET;
            result.words = m_why;
        }
        else if (index >= m_next)
        {
            result.state = TSPartResult::PASSED_OVER;
            result.words = m_unreached;
        }
        results.push_back(std::move(result));
    }
    return results;
}

void TCTimeline::m_End()
{
    const auto first = m_scenario.timeline.begin() + static_cast<std::ptrdiff_t>(m_next);
    const auto waiting = std::find_if(first, m_scenario.timeline.end(), Expects);
    if (waiting != m_scenario.timeline.end())
    {
        m_next = static_cast<std::size_t>(waiting - m_scenario.timeline.begin());
        m_Fail(m_EndedBefore());
    }
}

void TCTimeline::m_OnCall(const TSMadeCall& call)
{
    m_calls.push_back(call);
    if (m_calls.size() > MAX_CALLS)
    {
        m_calls.pop_front();
    }
    m_Proceed();
}

void TCTimeline::m_Proceed()
{
    while (m_hasBegun && !m_hasFailed && m_next < m_scenario.timeline.size())
    {
        const EProgress progress =
            std::visit([this](const auto& step) { return m_Try(step); }, m_scenario.timeline[m_next].action);
        if (progress == WAITING && !m_isEntered)
        {
            const TSStep& step = m_scenario.timeline[m_next];
            m_Progress("step " + std::to_string(step.number) + " of " + std::to_string(m_scenario.timeline.size()) +
                       ": " + step.text);
        }
        m_isEntered = true;
        if (progress != DONE)
        {
            return;
        }
        m_timers.Cancel(m_timer);
        m_timer = 0;
        m_isEntered = false;
        m_isTimeOver = false;
        ++m_next;
    }
    m_calls.clear();
    if (m_hasBegun && !m_hasFailed && !m_isOver && m_next == m_scenario.timeline.size())
    {
        m_Over();
    }
}

void TCTimeline::m_LimitTo(unsigned milliseconds)
{
    if (m_timer == 0)
    {
        m_timer = m_timers.After(milliseconds,
                                 [this]
                                 {
                                     m_timer = 0;
                                     m_isTimeOver = true;
                                     m_Proceed();
                                 });
    }
}

void TCTimeline::m_AwaitApplication(std::optional<unsigned> withinMs)
{
    if (withinMs || !m_options.isPatient)
    {
        m_LimitTo(withinMs.value_or(m_options.stepMs));
    }
}

TCTimeline::EProgress TCTimeline::m_Fail(const std::string& why)
{
    const TSStep& step = m_scenario.timeline[m_next];
    m_why = why;
    TCPlay::m_Fail(step.line, "step " + std::to_string(step.number) + " is not met: " + why + "\n  " + step.text);
    return FAILED;
}

TCTimeline::EProgress TCTimeline::m_Try(const TSWaitForCall& step)
{
    while (!m_calls.empty())
    {
        const TSMadeCall call = std::move(m_calls.front());
        m_calls.pop_front();
        if (step.call.Matches(call))
        {
            return DONE;
        }
        if (step.isNext && !call.isSubscription)
        {
            return m_Fail("another call came: " + call.Text());
        }
    }
    if (m_isTimeOver)
    {
        return m_Fail("no such call came within " + std::to_string(step.withinMs.value_or(m_options.stepMs)) + " ms");
    }
    m_AwaitApplication(step.withinMs);
    return WAITING;
}

TCTimeline::EProgress TCTimeline::m_Try(const TSExpectNoCall& step)
{
    const auto unwanted = std::find_if(m_calls.begin(), m_calls.end(),
                                       [&](const TSMadeCall& call)
                                       { return step.call ? step.call->Matches(call) : !call.isSubscription; });
    if (unwanted != m_calls.end())
    {
        return m_Fail("a call came: " + unwanted->Text());
    }
    m_LimitTo(step.duringMs);
    return m_isTimeOver ? DONE : WAITING;
}

TCTimeline::EProgress TCTimeline::m_Try(const TSWaitForSubscription& step)
{
    if (m_daemon.Clients().CountSubscribers(step.signal, step.profile, step.handle) >= step.clients)
    {
        return DONE;
    }
    if (m_isTimeOver)
    {
        return m_Fail("no such subscription came within " + std::to_string(step.withinMs.value_or(m_options.stepMs)) +
                      " ms");
    }
    m_AwaitApplication(step.withinMs);
    return WAITING;
}

TCTimeline::EProgress TCTimeline::m_Try(const TSWait& step)
{
    TCClockDriver& clock = m_daemon.Clock();
    clock.CatchUp();
    const TTime now = m_daemon.Model().Now();
    if (!m_isEntered)
    {
        m_until = step.isAbsolute ? step.ms : now + step.ms;
    }
    if (m_scenario.isManualClock)
    {
        clock.Advance(m_until - now);
        return DONE;
    }
    clock.Settle();
    if (now >= m_until)
    {
        return DONE;
    }
    // One millisecond more: the virtual clock is cut down to whole ones.
    m_LimitTo(static_cast<unsigned>(std::min<TTime>(m_until - now + 1, UINT32_MAX)));
    return WAITING;
}

TCTimeline::EProgress TCTimeline::m_Try(const TDeed& step)
{
    const TSOutcome outcome = Do(step, m_daemon, m_options.quit);
    if (std::holds_alternative<TSEnd>(step))
    {
        m_next = m_scenario.timeline.size() - 1; // nothing comes after the end
    }
    return outcome ? DONE : m_Fail(outcome.error);
}
} // namespace CIM::sim
