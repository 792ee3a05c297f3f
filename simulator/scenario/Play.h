#pragma once

#include "Scenario.h"
#include "simulator/daemon/CommandEnd.h"
#include "simulator/daemon/SimulatedDaemon.h"

#include <functional>
#include <iosfwd>
#include <memory>

namespace CIM::sim
{
/// The exit status of a simulator whose scenario was not met.
inline constexpr int EXIT_UNMET = 3;
/// The exit status of one whose scenario was met, but whose journal lacks what could not be written.
inline constexpr int EXIT_NO_JOURNAL = 4;

/// How a scenario is played.
struct TSPlayOptions
{
    std::function<void(int)> quit; ///< ends the simulator with an exit status
    /// Gets a line for each call and signal; null: no journal; outlives the play. That it takes no more is told once on
    /// standard error, and the play goes on.
    std::ostream* journal = nullptr;
    unsigned stepMs = DEFAULT_WITHIN_MS; ///< how long the application is waited for where the scenario says nothing
    bool isPatient = false;              ///< ... without end, that is
    bool isWhole = false;                ///< nothing may be passed over
    std::function<void(const std::string&)> onProgress; ///< where the story is, whenever that changes; empty: nowhere
    std::function<void()> onOver;                       ///< the scenario is over, and was met
};

/// What became of one part of a scenario.
struct TSPartResult
{
    enum EState
    {
        MET,
        UNMET,
        PASSED_OVER,
        BROKEN, ///< not by the scenario: the application fails by itself
    };
    std::string name;
    EState state = MET;
    std::string words; ///< why it is not met, or was passed over
};

/// Plays a scenario on a daemon. Bound to the daemon's thread.
class TCPlay
{
public:
    /// \param[in] daemon  over a model of the scenario's set and seed
    TCPlay(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options);
    virtual ~TCPlay() = default;
    TCPlay(const TCPlay&) = delete;
    TCPlay& operator=(const TCPlay&) = delete;

    /// Begins with the first step; a second time, nothing.
    void Begin();

    /// The application has ended, the daemon has not.
    /// \param[in] end  how, as far as that is known
    /// \return 0; EXIT_UNMET, with a line on standard error, when a part still waits for the application; 128 and the
    ///         signal, with such a line, when a user has interrupted it instead
    int Verdict(const TSCommandEnd& end = {});
    /// What became of each part, and behind them of the application, if it has failed by itself.
    std::vector<TSPartResult> Results() const;
    /// What became of it all, once it is over.
    virtual std::string OverWords() const;

protected:
    /// Goes as far as it can.
    virtual void m_Proceed() = 0;
    virtual void m_OnCall(const TSMadeCall& call) = 0;
    virtual void m_OnSignal(const TSSignal&) {}
    /// Nothing more comes of the application: says what is unmet then.
    virtual void m_End() = 0;
    virtual std::vector<TSPartResult> m_Results() const = 0;
    /// "the application ended before", and how.
    std::string m_EndedBefore() const;

    /// Says on standard error what is not met, and ends the play.
    /// \param[in] line  of the file; 0: none
    /// \param[in] text  behind file and line
    void m_Fail(int line, const std::string& text);
    void m_Over();
    void m_Progress(const std::string& words);
    /// Adds a line to the journal.
    void m_Note(const std::string& line);

    TSScenario m_scenario;
    TCSimulatedDaemon& m_daemon;
    TSPlayOptions m_options;
    TCTimers m_timers;
    bool m_hasBegun = false;
    bool m_hasFailed = false;
    bool m_isOver = false;
    bool m_isEnding = false;                        ///< the application has ended
    TSCommandEnd m_end;                             ///< ... in this way
    std::string m_unreached = "it was not reached"; ///< why the rest was not played

private:
    std::string m_where; ///< told last
};

/// The play of a scenario, whichever form it has.
std::unique_ptr<TCPlay> MakePlay(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options);
} // namespace CIM::sim
