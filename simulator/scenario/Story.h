#pragma once

#include "Scenario.h"
#include "simulator/daemon/SimulatedDaemon.h"

#include <deque>
#include <functional>
#include <iosfwd>

namespace CIM::sim
{
/// The exit status of a simulator whose scenario was not met.
inline constexpr int EXIT_UNMET = 3;
/// The exit status of one whose scenario was met, but whose journal lacks what could not be written.
inline constexpr int EXIT_NO_JOURNAL = 4;

/// Plays a scenario on a daemon. Bound to the daemon's thread.
class TCStory
{
public:
    /// \param[in] daemon   over a model of the scenario's set and seed
    /// \param[in] quit     ends the simulator with an exit status
    /// \param[in] journal  gets a line for each call and signal; null: no journal; outlives this. That it takes no
    ///                     more is told once on standard error, and the story goes on
    TCStory(TSScenario scenario, TCSimulatedDaemon& daemon, std::function<void(int)> quit, std::ostream* journal);
    TCStory(const TCStory&) = delete;
    TCStory& operator=(const TCStory&) = delete;

    /// Begins with the first step; a second time, nothing.
    void Begin();

    /// After the simulator has ended; the daemon may be gone.
    /// \return 0, or EXIT_UNMET, with a line on standard error, when a step still waits for the application
    int Verdict();

private:
    enum EProgress
    {
        DONE,
        WAITING,
        FAILED,
    };

    void m_OnCall(const TSJournalEntry& entry);
    void m_OnSignal(const TSSignal& signal);
    void m_Proceed();
    void m_LimitTo(unsigned milliseconds);
    EProgress m_Fail(const std::string& why);
    void m_Note(const std::string& line);

    EProgress m_Try(const TSWaitForCall& step);
    EProgress m_Try(const TSExpectNoCall& step);
    EProgress m_Try(const TSWaitForSubscription& step);
    EProgress m_Try(const TSWait& step);
    EProgress m_Try(const TSAdvance& step);
    EProgress m_Try(const TSControlStep& step);
    EProgress m_Try(const TSFaultStep& step);
    EProgress m_Try(const TSClearFaults& step);
    EProgress m_Try(const TSEnd& step);

    TSScenario m_scenario;
    TCSimulatedDaemon& m_daemon;
    std::function<void(int)> m_quit;
    std::ostream* m_journal;
    TCTimers m_timers;
    TCTimers::TId m_timer = 0;
    bool m_hasBegun = false;
    bool m_hasFailed = false;
    bool m_isEntered = false;  ///< the step has been tried before
    bool m_isTimeOver = false; ///< of the step
    TTime m_until = 0;         ///< what a wait waits for
    std::size_t m_next = 0;
    std::deque<TSMadeCall> m_calls; ///< since the last one that a step has waited for
};
} // namespace CIM::sim
