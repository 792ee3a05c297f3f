#include "Story.h"

#include "simulator/model/Model.h"
#include "json/Harmless.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
/// So long without a call behind the first one, and a manual clock goes on by itself: whoever waits for a signal gets
/// it.
constexpr unsigned IDLE_MS = 400;

/// Long values of a call that is only remembered to be shown: there may be many such calls.
void Shorten(json::TJson& value)
{
    constexpr std::size_t LONGEST = 200;
    if (value.is_structured())
    {
        for (json::TJson& part : value)
        {
            Shorten(part);
        }
    }
    else if (value.is_string() && value.get_ref<const std::string&>().size() > LONGEST)
    {
        value = value.get_ref<const std::string&>().substr(0, LONGEST) + "...";
    }
}
} // namespace

TCStory::TCStory(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options)
    : TCPlay(std::move(scenario), daemon, std::move(options)), m_passedOver(m_Events().size())
{
    for (const TSExpectation& expectation : m_scenario.story->expectations)
    {
        m_watches.emplace_back(expectation);
        m_patterns.push_back(expectation.call);
    }
    for (const TSEvent& event : m_Events())
    {
        event.when.ForEach(
            [this](const TSCondition& condition)
            {
                if (condition.call)
                {
                    m_patterns.push_back(*condition.call);
                }
            });
    }
}

bool TCStory::m_IsAbout(const TSMadeCall& call) const
{
    return std::any_of(m_patterns.begin(), m_patterns.end(),
                       [&](const TCCallPattern& pattern) { return pattern.IsOf(call); });
}

void TCStory::m_OnCall(const TSMadeCall& call)
{
    if (m_isOver || m_hasFailed)
    {
        return;
    }
    m_history.calls.Add(call);
    if (!m_IsAbout(call))
    {
        Shorten(m_history.calls.Last().arguments);
    }
    m_timers.Cancel(m_nudge);
    m_nudge = 0;
    for (TCWatch& watch : m_watches)
    {
        if (!m_hasFailed && !m_isOver && !watch.Take(call))
        {
            m_FailWatch(watch, watch.Expectation().IsNever()
                                   ? "but " + call.Text() + " came"
                                   : "but it came " + std::to_string(watch.Count()) + " times");
        }
    }
    m_Proceed();
}

void TCStory::m_OnSignal(const TSSignal& signal)
{
    m_history.signals.Add(signal);
    // The model is in the middle of something, so that it cannot be looked at yet.
    if (m_look == 0 && !m_isOver && !m_hasFailed)
    {
        m_look = m_timers.Soon(
            [this]
            {
                m_look = 0;
                m_Proceed();
            });
    }
}

void TCStory::m_Proceed()
{
    if (!m_hasBegun || m_isProceeding)
    {
        return;
    }
    m_isProceeding = true;
    m_daemon.Clock().CatchUp();
    m_daemon.Clock().Settle();
    EProgress progress = HAPPENS;
    while (!m_hasFailed && !m_isOver && progress != WAITS && m_next < m_Events().size())
    {
        const TSEvent& event = m_Events()[m_next];
        m_Enter();
        progress = m_Try(event);
        if (progress == HAPPENS)
        {
            m_Happen(event);
        }
    }
    if (!m_hasFailed && !m_isOver && m_next == m_Events().size())
    {
        m_AtEnd();
    }
    m_isProceeding = false;
}

void TCStory::m_Enter()
{
    if (!m_isEntered)
    {
        m_isEntered = true;
        m_isTimeOver = false;
        m_when = m_Events()[m_next].when;
    }
}

TCStory::EProgress TCStory::m_Try(const TSEvent& event)
{
    std::optional<std::size_t> missing;
    m_when.ForEach(
        [&](const TSCondition& condition)
        {
            if (condition.since && !m_history.events[*condition.since])
            {
                missing = condition.since;
            }
        });
    if (missing)
    {
        return m_PassOver(event, "it follows " + m_Reference(*missing) + ", which was not played") ? PASSED : FAILED;
    }
    const TTime now = m_daemon.Model().Now();
    const TTime due = std::max(event.when.afterMs ? m_since.now + *event.when.afterMs : 0, event.when.atMs.value_or(0));
    const bool isDue = now >= due || m_scenario.isManualClock || m_isEnding;
    if (m_when.Holds(m_Scene()) && isDue)
    {
        m_daemon.Clock().Advance(m_scenario.isManualClock ? std::max<TTime>(due - now, 0) : 0);
        return HAPPENS;
    }
    if (m_isEnding)
    {
        return m_GiveUp(event, m_EndedBefore());
    }
    if (m_isTimeOver)
    {
        return m_GiveUp(event, "that did not come within " + std::to_string(event.withinMs.value_or(m_options.stepMs)) +
                                   " ms");
    }
    m_Tell(json::Harmless(m_when.Words()));
    if (!isDue)
    {
        m_WakeAt(due);
        return WAITS;
    }
    m_LimitTo(event.withinMs);
    m_Nudge();
    return WAITS;
}

TCStory::EProgress TCStory::m_GiveUp(const TSEvent& event, const std::string& why)
{
    if (event.IsOptional())
    {
        return m_PassOver(event, event.otherwise) ? PASSED : FAILED;
    }
    m_FailEvent(event, "waits " + json::Harmless(m_when.Words()) + "; " + why + m_Instead(m_when));
    return FAILED;
}

bool TCStory::m_Happen(const TSEvent& event)
{
    const std::size_t index = m_next;
    if (!m_Leave(m_history.Moment(m_daemon.Model().Now())))
    {
        return false;
    }
    for (const TDeed& deed : event.deeds)
    {
        if (m_isEnding && std::holds_alternative<TSFaultStep>(deed))
        {
            continue; // there is nobody to see it, and the simulator has to write its verdict yet
        }
        if (std::holds_alternative<TSEnd>(deed))
        {
            m_next = m_Events().size(); // nothing comes after the end
        }
        const TSOutcome outcome = Do(deed, m_daemon, m_options.quit);
        if (!outcome)
        {
            m_next = index;
            return m_FailEvent(event, "the set refuses it: " + outcome.error);
        }
    }
    m_since.now = m_daemon.Model().Now();
    m_history.events[index]->now = m_since.now;
    return true;
}

bool TCStory::m_PassOver(const TSEvent& event, const std::string& why)
{
    if (m_options.isWhole)
    {
        return m_FailEvent(event, "not played: " + why + m_Instead(m_when));
    }
    m_passedOver[m_next] = why;
    return m_Leave(std::nullopt);
}

bool TCStory::m_Leave(std::optional<TSMoment> moment)
{
    const std::size_t index = m_next++;
    m_history.events.push_back(moment);
    m_since = moment.value_or(m_history.Moment(m_daemon.Model().Now()));
    m_isEntered = false;
    for (TCTimers::TId* const timer : {&m_limit, &m_wake, &m_nudge})
    {
        m_timers.Cancel(*timer);
        *timer = 0;
    }
    for (TCWatch& watch : m_watches)
    {
        const TSExpectation& expectation = watch.Expectation();
        if (!moment && (expectation.after == index || expectation.before == index))
        {
            watch.PassOver();
        }
        else if (expectation.before == index)
        {
            if (!m_Close(watch, "before that"))
            {
                return false;
            }
        }
        else if (expectation.after == index)
        {
            m_Open(watch);
        }
    }
    return true;
}

bool TCStory::m_Open(TCWatch& watch)
{
    watch.Open(m_history.calls.End());
    if (const auto within = watch.Expectation().withinMs)
    {
        m_timers.After(*within,
                       [this, &watch]
                       {
                           m_Close(watch, "in that time");
                           m_Proceed();
                       });
    }
    return true;
}

bool TCStory::m_Close(TCWatch& watch, const std::string& when)
{
    watch.Close();
    if (watch.State() != TCWatch::UNMET || m_hasFailed)
    {
        return true;
    }
    return m_FailWatch(watch, watch.Count() == 0 ? m_InsteadOf(watch)
                                                 : "but only " + std::to_string(watch.Count()) + " came " + when);
}

void TCStory::m_LimitTo(std::optional<unsigned> milliseconds)
{
    if (m_limit == 0 && (milliseconds || !m_options.isPatient))
    {
        m_limit = m_timers.After(milliseconds.value_or(m_options.stepMs),
                                 [this]
                                 {
                                     m_limit = 0;
                                     m_isTimeOver = true;
                                     m_Proceed();
                                 });
    }
}

void TCStory::m_WakeAt(TTime due)
{
    m_timers.Cancel(m_wake);
    // One millisecond more: the virtual clock is cut down to whole ones.
    const TTime wait = std::min<TTime>(due - m_daemon.Model().Now() + 1, UINT32_MAX);
    m_wake = m_timers.After(static_cast<unsigned>(wait),
                            [this]
                            {
                                m_wake = 0;
                                m_Proceed();
                            });
}

void TCStory::m_Nudge()
{
    if (m_nudge == 0 && m_scenario.isManualClock && m_history.calls.End() > 0)
    {
        m_nudge = m_timers.After(IDLE_MS,
                                 [this]
                                 {
                                     m_nudge = 0;
                                     if (const auto next = m_daemon.Model().NextEventAt())
                                     {
                                         m_daemon.Clock().Advance(*next - m_daemon.Model().Now());
                                     }
                                     m_Proceed();
                                     if (m_isOver)
                                     {
                                         m_Nudge(); // the application goes on
                                     }
                                 });
    }
}

void TCStory::m_Tell(const std::string& waits)
{
    const std::string told = m_next < m_Events().size()
                                 ? m_Step(m_next) + (waits.empty() ? "" : "; waits " + waits)
                                 : "all " + std::to_string(m_next) + " steps are over; waits for this: " + waits;
    if (told != m_told)
    {
        m_told = told;
        m_Progress(told);
    }
}
} // namespace CIM::sim
