#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace CIM::sim
{
/// Virtual milliseconds since the model began.
using TTime = std::int64_t;

/// The model's only clock. It moves when it is told to, and runs what was scheduled on its way, in order of time; what
/// is due at the same time runs in the order in which it was scheduled. Bound to its thread.
class TCClock
{
public:
    using TAction = std::function<void()>;
    using TEventId = std::uint64_t;

    TTime Now() const { return m_now; }

    /// When the next event is due; nothing when none is scheduled.
    std::optional<TTime> NextEventAt() const;

    /// Runs what is due up to and including a time, and leaves the clock there. A time in the past changes nothing.
    /// Not to be called by an event.
    void AdvanceTo(TTime time);

    /// Schedules an action.
    /// \param[in] time   when; what lies in the past is due at once, that is with the next AdvanceTo
    /// \param[in] group  what CancelGroup takes back; 0 belongs to no group
    TEventId At(TTime time, TAction action, std::uint64_t group = 0);
    TEventId After(TTime delay, TAction action, std::uint64_t group = 0)
    {
        return At(m_now + delay, std::move(action), group);
    }

    /// Takes one event back; nothing happens when it has run already.
    void Cancel(TEventId id);
    void CancelGroup(std::uint64_t group);

private:
    struct TSEvent
    {
        TAction action;
        std::uint64_t group;
    };

    TTime m_now = 0;
    TEventId m_lastId = 0;
    std::map<std::pair<TTime, TEventId>, TSEvent> m_events;
};
} // namespace CIM::sim
