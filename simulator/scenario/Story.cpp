#include "Story.h"

#include "simulator/control/Controls.h"
#include "simulator/model/Model.h"

#include "json/Signals.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ostream>

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

TCStory::TCStory(TSScenario scenario, TCSimulatedDaemon& daemon, std::function<void(int)> quit, std::ostream* journal)
    : m_scenario(std::move(scenario)), m_daemon(daemon), m_quit(std::move(quit)), m_journal(journal), m_timers(nullptr)
{
    m_daemon.onCall = [this](const TSJournalEntry& entry) { m_OnCall(entry); };
    m_daemon.onSignal = [this](const TSSignal& signal) { m_OnSignal(signal); };
}

void TCStory::Begin()
{
    if (!m_hasBegun)
    {
        m_hasBegun = true;
        m_Proceed();
    }
}

int TCStory::Verdict()
{
    if (m_hasFailed)
    {
        return EXIT_UNMET;
    }
    const auto first = m_scenario.timeline.begin() + static_cast<std::ptrdiff_t>(m_next);
    const auto waiting = std::find_if(first, m_scenario.timeline.end(), Expects);
    if (waiting == m_scenario.timeline.end())
    {
        return 0;
    }
    m_next = static_cast<std::size_t>(waiting - m_scenario.timeline.begin());
    m_quit = {};
    m_Fail("the application ended before");
    return EXIT_UNMET;
}

void TCStory::m_OnCall(const TSJournalEntry& entry)
{
    TSMadeCall made = ToMadeCall(entry);
    m_Note("call " + made.Text());
    const bool isSubscription = made.isSubscription;
    m_calls.push_back(std::move(made));
    if (m_calls.size() > MAX_CALLS)
    {
        m_calls.pop_front();
    }
    m_Proceed();
    if (m_scenario.msPerCall > 0 && !isSubscription)
    {
        m_daemon.Clock().Advance(m_scenario.msPerCall);
    }
}

void TCStory::m_OnSignal(const TSSignal& signal)
{
    m_Note("signal " + json::SignalName(signal.type) + " " + json::SignalWords(signal));
}

void TCStory::m_Note(const std::string& line)
{
    if (m_journal == nullptr || !*m_journal)
    {
        return;
    }
    errno = 0;
    if (m_scenario.isManualClock)
    {
        *m_journal << m_daemon.Model().Now() << ' ';
    }
    *m_journal << line << std::endl;
    if (!*m_journal)
    {
        std::fprintf(stderr, "ci-daemon-sim: the journal cannot be written%s%s; it is incomplete\n",
                     errno != 0 ? ": " : "", errno != 0 ? std::strerror(errno) : "");
    }
}

void TCStory::m_Proceed()
{
    while (m_hasBegun && !m_hasFailed && m_next < m_scenario.timeline.size())
    {
        const EProgress progress =
            std::visit([this](const auto& step) { return m_Try(step); }, m_scenario.timeline[m_next].action);
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
}

void TCStory::m_LimitTo(unsigned milliseconds)
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

TCStory::EProgress TCStory::m_Fail(const std::string& why)
{
    const TSStep& step = m_scenario.timeline[m_next];
    std::fprintf(stderr, "ci-daemon-sim: %s:%d: step %d is not met: %s\n  %s\n", m_scenario.file.c_str(), step.line,
                 step.number, why.c_str(), step.text.c_str());
    m_hasFailed = true;
    m_timers.CancelAll();
    if (m_quit)
    {
        m_quit(EXIT_UNMET);
    }
    return FAILED;
}

TCStory::EProgress TCStory::m_Try(const TSWaitForCall& step)
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
        return m_Fail("no such call came within " + std::to_string(step.withinMs) + " ms");
    }
    m_LimitTo(step.withinMs);
    return WAITING;
}

TCStory::EProgress TCStory::m_Try(const TSExpectNoCall& step)
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

TCStory::EProgress TCStory::m_Try(const TSWaitForSubscription& step)
{
    if (m_daemon.Clients().CountSubscribers(step.signal, step.profile, step.handle) >= step.clients)
    {
        return DONE;
    }
    if (m_isTimeOver)
    {
        return m_Fail("no such subscription came within " + std::to_string(step.withinMs) + " ms");
    }
    m_LimitTo(step.withinMs);
    return WAITING;
}

TCStory::EProgress TCStory::m_Try(const TSWait& step)
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

TCStory::EProgress TCStory::m_Try(const TSAdvance& step)
{
    m_daemon.Clock().Advance(step.ms);
    return DONE;
}

TCStory::EProgress TCStory::m_Try(const TSControlStep& step)
{
    m_daemon.Clock().CatchUp();
    const TSOutcome outcome = RunControl(m_daemon.Model(), step.name, step.arguments);
    m_daemon.Clock().Settle();
    return outcome ? DONE : m_Fail(outcome.error);
}

TCStory::EProgress TCStory::m_Try(const TSFaultStep& step)
{
    m_daemon.AddFault(step.fault);
    return DONE;
}

TCStory::EProgress TCStory::m_Try(const TSClearFaults&)
{
    m_daemon.Faults().Clear();
    return DONE;
}

TCStory::EProgress TCStory::m_Try(const TSEnd& step)
{
    m_quit(step.status);
    m_next = m_scenario.timeline.size() - 1; // nothing comes after the end
    return DONE;
}
} // namespace CIM::sim
