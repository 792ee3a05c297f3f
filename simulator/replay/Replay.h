#pragma once

#include "Matcher.h"
#include "simulator/scenario/Play.h"

#include <set>

namespace CIM::sim
{
/// How a recording is played.
struct TSReplayOptions
{
    bool isStrict = false;   ///< the calls have to come as they were recorded; the first difference ends the play
    bool isRealTime = false; ///< answers and signals take the time that they took
    bool endsWithIt = false; ///< the application is asked to end when it is over: how it does is not compared
    /// Not strictly: a signal does not wait for calls any longer once none has come for so long.
    unsigned quietMs = 1000;
};

/// A scenario that says nothing but what the set is when a recording is played.
/// \param[in] set  of the model that answers where the recording does not
TSScenario ScenarioOf(const TSRecording& recording, TSSetDefinition set);

/// Plays a recording: answers each call as it was answered, and sends the signals where they came, behind the same calls.
/// What is not answered so is told on standard error.
class TCReplay final : public TCPlay
{
public:
    /// \param[in] scenario  of the recording
    TCReplay(TSRecording recording, TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options,
             TSReplayOptions wishes);

    std::string OverWords() const override;

private:
    void m_OnCall(const TSMadeCall&) override {}
    void m_Proceed() override;
    void m_End() override;
    std::vector<TSPartResult> m_Results() const override;

    std::optional<TSGivenAnswer> m_Answer(const TSJournalEntry& entry);
    /// The call that is played strictly. \return nothing after a difference, which is told
    std::optional<std::size_t> m_TakeStrictly(const TSRequest& request);
    /// The call that is most like. \return nothing when the model is to answer
    std::optional<std::size_t> m_TakeNearest(const TSRequest& request);
    /// \return nothing when the model is to answer
    std::optional<TSGivenAnswer> m_AnswerOf(std::size_t call, bool isOneWay);
    /// Sends the signals whose turn it is, up to an event of the recording or a reply that is late.
    /// \param[in] isTime  also where their time has not come
    void m_SendSignals(std::size_t until, bool isTime = false);
    void m_SendSignal();
    /// Waits for the calls that come next.
    void m_AwaitCalls();
    /// Goes on without calls that have not come.
    void m_GiveUp(const std::string& why);
    /// The event of the recording that was played last; further ones are timed from it.
    void m_Reach(std::size_t event);
    /// How long it is until an event, as far as the recording tells; negative when it should have been.
    std::int64_t m_NanosecondsTo(std::size_t event) const;
    void m_ProceedAfter(std::int64_t nanoseconds, std::function<void()> first = {});
    std::string m_Name(std::size_t call) const;
    std::string m_CountsInWords() const;

    TSRecording m_recording;
    TCMatcher m_matcher;
    TSReplayOptions m_wishes;
    TCTimers::TId m_timer = 0;
    std::vector<std::size_t> m_replies; ///< of the calls: places in the events; their number when there is none
    std::set<std::size_t> m_late;       ///< the replies that wait for their time: places in the events
    std::size_t m_reached = 0;          ///< the event that was played last
    std::int64_t m_reachedAt = 0;       ///< ... and when: nanoseconds of a clock that does not jump; 0: not begun
    bool m_isHeard = false;             ///< there was time for what came last
    std::string m_difference;           ///< of a strict play
    std::size_t m_differs = SIZE_MAX;   ///< ... at this call
    struct TSCounts
    {
        std::size_t asRecorded = 0;
        std::size_t again = 0;
        std::size_t otherArguments = 0;
        std::size_t unknown = 0;
        std::size_t signals = 0;
    } m_counts;
};
} // namespace CIM::sim
