#pragma once

#include "SeenPages.h"
#include "StoryEvents.h"

#include "simulator/world/Clock.h"

namespace CIM::sim
{
/// Puts what happened in a recording into the words of a story: events, what they wait for, and the calls that are expected
/// between them. What it is told comes in the recording's order.
class TCStoryNarrator
{
public:
    /// \param[in] calls  all of the recording: how often each was made
    explicit TCStoryNarrator(const std::vector<TSRecordedCall>& calls);

    /// What follows happens then, in the recording's nanoseconds.
    void GoTo(std::int64_t now) { m_now = now; }

    /// What was there when the recording began.
    void AddBegin(const std::string& says, const json::TJson& deed);
    /// A call that no event is about yet. \param[in] call  outlives this
    void AddCall(const TSRecordedCall& call, TSSpoken spoken)
    {
        m_waiting.push_back({&call, m_now, std::move(spoken)});
    }
    /// The call that a signal answers becomes an event, unless it is one.
    void AddCauseOf(const TSSignalFields& fields);
    /// Adds what happens without the application's doing; it waits for the calls that came before.
    /// \param[in] isTimed  it waits for its time, too \return the index of the event
    std::size_t AddDeed(const std::string& word, const std::string& says, const json::TJson& deed, bool isTimed);
    /// ... to a slot's CAM or its dialogue.
    void AddSlotDeed(unsigned slot, const std::string& word, const std::string& says, const json::TJson& deed);
    /// ... a signal; those that come together are one event.
    void AddRaised(const std::string& says, const json::TJson& deed);
    /// Time passes behind the last event.
    void AddTime(TTime ms) { m_events.AddDeed({{"advance", ms}}); }
    /// Adds that a signal was raised.
    void AddSignalled(const std::string& word, const std::string& says, const TSSignal& signal);
    void Finish();

    /// The page that a slot's CAM shows; null: none.
    const TSSeenPage* Shown(unsigned slot) const;
    void Show(const TSSeenPage& page) { m_shown[page.slot] = page; }
    /// \return whether there was a page
    bool Close(unsigned slot) { return m_shown.erase(slot) > 0; }

    /// Puts "story" and "expect" into a scenario.
    void Write(json::TJson& scenario) const { m_events.Write(scenario); }

private:
    /// A call that no event of the story is about yet.
    struct TSWaiting
    {
        const TSRecordedCall* call;
        std::int64_t at;
        TSSpoken spoken;
    };
    std::optional<std::size_t> m_Last() const;
    void m_Happened(std::int64_t at);
    void m_AddCall(std::size_t index);
    /// A word and a sentence for a call that leads to something.
    std::pair<std::string, std::string> m_WordsFor(const std::string& operation, const TSSpoken& spoken) const;
    /// Whether it is asked all the time.
    bool m_IsPolled(const TSRecordedCall& call) const;
    /// Expects the first of the calls that wait, between two events.
    void m_Expect(std::optional<std::size_t> after, std::size_t count, std::optional<std::size_t> before);

    TCStoryEvents m_events;
    std::int64_t m_now = 0;
    std::map<std::string, unsigned> m_counts; ///< how often each call was made, by the request's text
    std::map<std::string, unsigned> m_expected;
    std::vector<TSWaiting> m_waiting;
    std::map<unsigned, TSSeenPage> m_shown;
    std::map<unsigned, std::size_t> m_slotEvents;  ///< the last event about a slot's CAM or its dialogue
    std::map<unsigned, std::size_t> m_raisedSince; ///< ... but for the application's calls: signals count from there
    std::map<std::string, std::size_t> m_callEvents;
    std::int64_t m_at = 0; ///< when the last event was recorded
    bool m_isRaised = false;
};

/// " of slot 1"; empty for the first slot.
std::string InSlot(unsigned slot);
} // namespace CIM::sim
