#include "Clock.h"

#include <algorithm>

namespace CIM::sim
{
std::optional<TTime> TCClock::NextEventAt() const
{
    if (m_events.empty())
    {
        return std::nullopt;
    }
    return m_events.begin()->first.first;
}

void TCClock::AdvanceTo(TTime time)
{
    while (!m_events.empty() && m_events.begin()->first.first <= time)
    {
        auto event = m_events.extract(m_events.begin());
        m_now = std::max(m_now, event.key().first);
        event.mapped().action();
    }
    m_now = std::max(m_now, time);
}

TCClock::TEventId TCClock::At(TTime time, TAction action, std::uint64_t group)
{
    const TEventId id = ++m_lastId;
    m_events.emplace(std::make_pair(std::max(time, m_now), id), TSEvent{std::move(action), group});
    return id;
}

void TCClock::Cancel(TEventId id)
{
    std::erase_if(m_events, [id](const auto& event) { return event.first.second == id; });
}

void TCClock::CancelGroup(std::uint64_t group)
{
    std::erase_if(m_events, [group](const auto& event) { return event.second.group == group; });
}
} // namespace CIM::sim
