#pragma once

#include "Play.h"
#include "Watch.h"

namespace CIM::sim
{
/// Plays a story: each event when its condition holds, while the expectations watch what the application does.
class TCStory final : public TCPlay
{
public:
    TCStory(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options);

private:
    enum EProgress
    {
        HAPPENS,
        WAITS,
        PASSED,
        FAILED,
    };

    void m_OnCall(const TSMadeCall& call) override;
    void m_OnSignal(const TSSignal& signal) override;
    void m_Proceed() override;
    void m_End() override;
    std::vector<TSPartResult> m_Results() const override;

    const std::vector<TSEvent>& m_Events() const { return m_scenario.story->events; }
    TSScene m_Scene() { return {m_daemon.Model(), m_daemon.Clients(), m_history}; }
    void m_Enter();
    EProgress m_Try(const TSEvent& event);
    EProgress m_GiveUp(const TSEvent& event, const std::string& why);
    bool m_Happen(const TSEvent& event);
    bool m_PassOver(const TSEvent& event, const std::string& why);
    bool m_Leave(std::optional<TSMoment> moment);
    bool m_Open(TCWatch& watch);
    bool m_Close(TCWatch& watch, const std::string& when);
    void m_AtEnd();
    void m_Finish();

    void m_LimitTo(std::optional<unsigned> milliseconds);
    void m_WakeAt(TTime due);
    void m_Nudge();
    void m_Tell(const std::string& waits);

    bool m_IsAbout(const TSMadeCall& call) const;

    bool m_FailEvent(const TSEvent& event, const std::string& why);
    /// \param[in] but  what came instead, in words
    bool m_FailWatch(const TCWatch& watch, const std::string& but);
    std::string m_Instead(const TSWhen& when);
    std::string m_InsteadOf(const TCWatch& watch) const;
    std::string m_Window(const TSExpectation& expectation) const;
    std::string m_Step(std::size_t index) const;
    std::string m_Reference(std::size_t index) const;

    TSHistory m_history;
    std::vector<TCWatch> m_watches;
    std::vector<std::string> m_passedOver; ///< why, by event; empty for those that were played
    std::vector<TCCallPattern> m_patterns; ///< all that the story is about
    std::string m_failure;
    std::optional<std::size_t> m_failedEvent;
    std::string m_told;
    std::size_t m_next = 0;
    TSWhen m_when;    ///< of the next event, as far as it has counted
    TSMoment m_since; ///< when the event before it happened
    bool m_isEntered = false;
    bool m_isProceeding = false;
    bool m_isTimeOver = false;
    TCTimers::TId m_limit = 0;
    TCTimers::TId m_wake = 0;
    TCTimers::TId m_nudge = 0;
    TCTimers::TId m_look = 0;
};
} // namespace CIM::sim
