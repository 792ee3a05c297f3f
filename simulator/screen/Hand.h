#pragma once

#include "simulator/daemon/SimulatedDaemon.h"

#include <map>
#include <string>
#include <vector>

namespace CIM::sim
{
struct TSScenario;

/// What a person does to the set by the verbs of the control object, and how it is told again as a story. Bound to the
/// daemon's thread.
class TCHand
{
public:
    /// \param[in] daemon, story  outlive this; story is what is played, null: nothing
    /// \param[in] inserted       the CAMs that were in at the beginning
    TCHand(TCSimulatedDaemon& daemon, const TSScenario* story, std::map<int, std::string> inserted);

    /// \return what the verb gives
    /// \throws std::exception with a text for people when it is refused
    std::string Do(const std::string& verb, const json::TJson& arguments);
    /// The application has made a call.
    void OnCall(const TSJournalEntry& call);
    /// The moment from which a story counts.
    void Begin() { m_last = m_begin = m_Now(); }
    std::size_t Deeds() const { return m_deeds; }
    /// A scenario with all that was done, each deed when the application has done again what it did before. What is wrong
    /// with it, as a scenario, stands in a comment at its head.
    std::string Story() const;

private:
    TTime m_Now();
    void m_AddEvent(std::string says, json::TJson members, TTime after);

    TCSimulatedDaemon& m_daemon;
    const TSScenario* m_story;
    std::map<int, std::string> m_inserted;
    std::vector<json::TJson> m_events;
    json::TJson m_call; ///< the latest that has changed something since the last deed; null: none
    TTime m_callTime = 0;
    TTime m_begin = 0;
    TTime m_last = 0; ///< the latest event
    std::size_t m_deeds = 0;
};
} // namespace CIM::sim
