#include "Replay.h"

#include "simulator/scenario/Tell.h"
#include "traffic/Messages.h"

#include "bus/Handles.h"
#include "json/Signals.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <new>

namespace CIM::sim
{
namespace
{
std::int64_t Now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

unsigned ToMs(std::int64_t nanoseconds)
{
    return static_cast<unsigned>(std::clamp<std::int64_t>(nanoseconds / NS_PER_MS, 0, INT32_MAX));
}

TCMessagePtr CopyOf(const TSharedMessage& message)
{
    DBusMessage* const copy = dbus_message_copy(message.get());
    return copy != nullptr ? TCMessagePtr(copy) : throw std::bad_alloc();
}

std::string SignalWords(DBusMessage* message)
{
    const traffic::TSSignal read = traffic::ReadSignal(message);
    return read.signal ? json::SignalName(read.signal->type) + " " + json::SignalWords(*read.signal)
                       : read.type + " " + read.bytes + " (" + read.error + ")";
}
} // namespace

TSScenario ScenarioOf(const TSRecording& recording, TSSetDefinition set)
{
    TSScenario scenario;
    scenario.file = recording.file;
    scenario.name = std::filesystem::path(recording.file).stem().string();
    scenario.description = "a recording";
    scenario.set = std::move(set);
    // The model says nothing by itself: its time passes with the calls that it answers, and what it does at the beginning
    // is done before.
    constexpr TTime WARM_UP_MS = 60'000;
    scenario.isManualClock = true;
    scenario.warmUpMs = WARM_UP_MS;
    return scenario;
}

TCReplay::TCReplay(TSRecording recording, TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options,
                   TSReplayOptions wishes)
    : TCPlay(std::move(scenario), daemon, std::move(options)), m_recording(std::move(recording)),
      m_matcher(m_recording), m_wishes(wishes), m_replies(m_recording.calls.size(), m_recording.events.size())
{
    for (std::size_t place = 0; place < m_recording.events.size(); ++place)
    {
        if (m_recording.events[place].kind == TSRecordedEvent::REPLY)
        {
            m_replies[m_recording.events[place].call] = place;
        }
    }
    m_daemon.onAnswer = [this](const TSJournalEntry& entry) { return m_Answer(entry); };
}

std::string TCReplay::m_Name(std::size_t call) const
{
    return "call " + std::to_string(call + 1) + " of " + std::to_string(m_recording.calls.size());
}

std::optional<TSGivenAnswer> TCReplay::m_Answer(const TSJournalEntry& entry)
{
    if (m_hasFailed)
    {
        return std::nullopt;
    }
    const TSRequest request = ToRequest(entry.interface, entry.methodId, entry.request);
    const bool isStrict = m_wishes.isStrict && !(m_isOver && m_wishes.endsWithIt);
    const auto call = isStrict ? m_TakeStrictly(request) : m_TakeNearest(request);
    if (!call)
    {
        constexpr TTime MODEL_MS = 1'000; // what it does by itself belongs to its answer
        m_timers.Soon(
            [this]
            {
                m_daemon.Clock().Advance(MODEL_MS);
                m_Proceed();
            });
        return std::nullopt;
    }
    m_timers.Soon([this] { m_Proceed(); }); // the reply is on its way then
    m_SendSignals(m_replies[*call]);
    return m_AnswerOf(*call, entry.isOneWay);
}

std::optional<std::size_t> TCReplay::m_TakeStrictly(const TSRequest& request)
{
    const std::optional<std::size_t> next = m_matcher.NextCall();
    if (next && m_recording.calls[*next].request == request)
    {
        m_matcher.Take(*next);
        ++m_counts.asRecorded;
        m_Reach(m_matcher.PlaceOf(*next));
        return next;
    }
    m_differs = next.value_or(m_recording.calls.size());
    m_difference = (next ? m_Name(*next) + " differs" : "a call more than was recorded") +
                   "\n  recorded: " + (next ? m_recording.calls[*next].request.Words() : "nothing more") +
                   "\n  made:     " + request.Words();
    m_Fail(0, m_difference);
    return std::nullopt;
}

std::optional<std::size_t> TCReplay::m_TakeNearest(const TSRequest& request)
{
    const TCMatcher::TSMatch match = m_matcher.Match(request);
    while (match.isTaken && m_matcher.IsBehindSignal(match.call))
    {
        m_GiveUp("the application is further");
        m_SendSignal();
    }
    if (match.isTaken)
    {
        m_Reach(m_matcher.PlaceOf(match.call));
    }
    switch (match.how)
    {
    case TCMatcher::AS_RECORDED:
        ++m_counts.asRecorded;
        return match.call;
    case TCMatcher::AGAIN:
        ++m_counts.again;
        return match.call;
    case TCMatcher::OTHER_ARGUMENTS:
        ++m_counts.otherArguments;
        Tell("answered as " + m_Name(match.call) + ", which has other arguments\n  recorded: " +
             m_recording.calls[match.call].request.Words() + "\n  made:     " + request.Words());
        return match.call;
    default:
        ++m_counts.unknown;
        Tell("answered by the model: the recording has no such operation\n  made:     " + request.Words());
        return std::nullopt;
    }
}

std::optional<TSGivenAnswer> TCReplay::m_AnswerOf(std::size_t call, bool isOneWay)
{
    const TSRecordedCall& recorded = m_recording.calls[call];
    if (recorded.isOneWay && !isOneWay)
    {
        Tell("answered by the model: " + m_Name(call) +
             " wanted no answer when it was recorded\n  made:     " + recorded.request.Words());
        return std::nullopt;
    }
    if (recorded.reply == nullptr)
    {
        if (!isOneWay)
        {
            Tell(m_Name(call) +
                 " was never answered when it was recorded, and is not now: " + recorded.request.Words());
        }
        return TSGivenAnswer();
    }
    if (!m_wishes.isRealTime)
    {
        return TSGivenAnswer{CopyOf(recorded.reply), 0};
    }
    const std::size_t place = m_replies[call];
    const unsigned after = ToMs(m_recording.events[place].at - m_recording.events[m_matcher.PlaceOf(call)].at);
    TSGivenAnswer answer{CopyOf(recorded.reply), after};
    // Timers that are late do not come in the order of their times.
    m_late.insert(place);
    answer.before = [this, place]
    {
        m_late.erase(place);
        m_SendSignals(place, true);
        m_timers.Soon([this] { m_Proceed(); });
    };
    return answer;
}

void TCReplay::m_Proceed()
{
    if (!m_hasBegun || m_hasFailed)
    {
        return;
    }
    if (m_reachedAt == 0)
    {
        m_Reach(0);
    }
    m_timers.Cancel(m_timer);
    m_timer = 0;
    m_SendSignals(m_recording.events.size());
    const bool isSignalWaiting = m_timer != 0; // for its time
    if (isSignalWaiting || !m_late.empty() || m_isOver)
    {
        return;
    }
    if (!m_matcher.IsOver())
    {
        m_AwaitCalls();
    }
    else if (m_recording.events[m_reached].kind == TSRecordedEvent::SIGNAL && !m_isHeard)
    {
        constexpr std::int64_t NOTICING_MS = 300; // the application may still have to do with it
        m_isHeard = true;
        m_ProceedAfter(NOTICING_MS * NS_PER_MS);
    }
    else
    {
        m_Over();
    }
}

void TCReplay::m_SendSignals(std::size_t until, bool isTime)
{
    until = m_late.empty() ? until : std::min(until, *m_late.begin());
    while (m_matcher.HasSignal() && m_matcher.NextSignal() < until && m_matcher.IsSignalDue())
    {
        const std::int64_t left = m_wishes.isRealTime && !isTime ? m_NanosecondsTo(m_matcher.NextSignal()) : 0;
        if (left >= NS_PER_MS)
        {
            m_ProceedAfter(left);
            return;
        }
        m_SendSignal();
    }
}

void TCReplay::m_SendSignal()
{
    const std::size_t place = m_matcher.NextSignal();
    const TCMessagePtr signal = CopyOf(m_recording.events[place].signal);
    dbus_message_set_destination(signal.get(), nullptr); // who has subscribed it is another connection today
    m_daemon.Send(signal.get());
    m_Note("signal " + SignalWords(signal.get()));
    ++m_counts.signals;
    m_matcher.PassSignal();
    m_Reach(place);
}

void TCReplay::m_AwaitCalls()
{
    const std::size_t call = *m_matcher.NextCall();
    m_Progress(m_Name(call) + ": " + m_recording.calls[call].request.Words());
    if (m_options.isPatient)
    {
        return;
    }
    const std::int64_t gap = std::max<std::int64_t>(m_NanosecondsTo(m_matcher.PlaceOf(call)), 0);
    if (m_wishes.isStrict)
    {
        m_ProceedAfter(gap + m_options.stepMs * NS_PER_MS,
                       [this, call]
                       {
                           m_differs = call;
                           m_difference =
                               m_Name(call) + " does not come\n  recorded: " + m_recording.calls[call].request.Words();
                           m_Fail(0, m_difference);
                       });
        return;
    }
    m_ProceedAfter(gap + m_wishes.quietMs * NS_PER_MS,
                   [this]
                   {
                       m_GiveUp("the application makes no more calls of the recording");
                       if (m_matcher.HasSignal())
                       {
                           m_SendSignal();
                       }
                   });
}

void TCReplay::m_GiveUp(const std::string& why)
{
    const std::vector<std::size_t> calls = m_matcher.GiveUp();
    if (calls.empty())
    {
        return;
    }
    const std::string next =
        m_matcher.HasSignal() ? "goes on with " + SignalWords(m_recording.events[m_matcher.NextSignal()].signal.get())
                              : std::string("ends");
    Tell(why + ": the play " + next + " without " + Counted(calls.size(), "call") +
         "\n  recorded: " + m_recording.calls[calls.front()].request.Words() + (calls.size() > 1 ? "\n  ..." : ""));
}

void TCReplay::m_Reach(std::size_t event)
{
    if (event >= m_reached)
    {
        m_reached = event;
        m_reachedAt = Now();
    }
}

std::int64_t TCReplay::m_NanosecondsTo(std::size_t event) const
{
    return m_recording.events[event].at - m_recording.events[m_reached].at - (Now() - m_reachedAt);
}

void TCReplay::m_ProceedAfter(std::int64_t nanoseconds, std::function<void()> first)
{
    m_timers.Cancel(m_timer);
    m_timer = m_timers.After(ToMs(nanoseconds),
                             [this, first = std::move(first)]
                             {
                                 m_timer = 0;
                                 if (first)
                                 {
                                     first();
                                 }
                                 m_Proceed();
                             });
}

void TCReplay::m_End()
{
    const std::optional<std::size_t> next = m_matcher.NextCall();
    if (m_wishes.isStrict && next)
    {
        m_differs = *next;
        m_difference =
            m_EndedBefore() + ": " + m_Name(*next) + "\n  recorded: " + m_recording.calls[*next].request.Words();
        m_Fail(0, m_difference);
        return;
    }
    Tell(m_scenario.name + ": " + m_CountsInWords());
}

std::string TCReplay::OverWords() const { return "is played: " + m_CountsInWords(); }

std::string TCReplay::m_CountsInWords() const
{
    const auto isSignal = [](const TSRecordedEvent& event) { return event.kind == TSRecordedEvent::SIGNAL; };
    const auto signals = std::count_if(m_recording.events.begin(), m_recording.events.end(), isSignal);
    const std::size_t calls = std::max(m_counts.asRecorded, m_matcher.CallsToLeave());
    std::string words = std::to_string(m_counts.asRecorded) + " of " + Counted(calls, "call") + " as recorded, " +
                        std::to_string(m_counts.signals) + " of " +
                        Counted(static_cast<std::size_t>(signals), "signal");
    const std::pair<std::size_t, const char*> others[] = {{m_counts.again, " again"},
                                                          {m_counts.otherArguments, " with other arguments"},
                                                          {m_counts.unknown, " answered by the model"}};
    for (const auto& [count, what] : others)
    {
        words += count > 0 ? ", " + std::to_string(count) + what : "";
    }
    return words;
}

std::vector<TSPartResult> TCReplay::m_Results() const
{
    std::vector<TSPartResult> results;
    for (std::size_t call = 0; call < m_recording.calls.size(); ++call)
    {
        TSPartResult result{m_Name(call) + ": " + m_recording.calls[call].request.Words(), TSPartResult::MET, {}};
        if (call == m_differs)
        {
            result.state = TSPartResult::UNMET;
            result.words = m_difference;
        }
        else if (m_matcher.StateOf(call) != TCMatcher::DONE)
        {
            result.state = TSPartResult::PASSED_OVER;
            result.words = m_matcher.StateOf(call) == TCMatcher::OPEN ? m_unreached : "it did not come in time";
        }
        results.push_back(std::move(result));
    }
    if (m_differs == m_recording.calls.size())
    {
        results.push_back({"no more calls than were recorded", TSPartResult::UNMET, m_difference});
    }
    return results;
}
} // namespace CIM::sim
