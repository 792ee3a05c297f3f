#include "Matcher.h"

#include <algorithm>

namespace CIM::sim
{
TCMatcher::TCMatcher(const TSRecording& recording)
    : m_recording(recording), m_states(recording.calls.size(), OPEN), m_places(recording.calls.size())
{
    for (std::size_t place = 0; place < recording.events.size(); ++place)
    {
        const TSRecordedEvent& event = recording.events[place];
        if (event.kind == TSRecordedEvent::CALL)
        {
            const TSRequest& request = recording.calls[event.call].request;
            m_places[event.call] = place;
            m_same[request.text].calls.push_back(event.call);
            m_named[request.operation].calls.push_back(event.call);
        }
    }
    m_leave = LeaveOf(recording);
    m_FindSignal(0);
}

TCMatcher::TSMatch TCMatcher::Match(const TSRequest& request)
{
    const auto same = m_same.find(request.text);
    if (same != m_same.end())
    {
        TSAlike& alike = same->second;
        const auto open = m_FirstOpen(alike);
        if (open && (!alike.last || !IsBehindSignal(*open)))
        {
            Take(*open);
            return {AS_RECORDED, *open, true};
        }
        return {AGAIN, *alike.last, false};
    }
    const auto named = m_named.find(request.operation);
    if (named == m_named.end())
    {
        return {};
    }
    const auto open = m_FirstOpen(named->second);
    if (open && !IsBehindSignal(*open))
    {
        Take(*open);
        return {OTHER_ARGUMENTS, *open, true};
    }
    return {OTHER_ARGUMENTS, named->second.last.value_or(named->second.calls.front()), false};
}

void TCMatcher::PassSignal() { m_FindSignal(m_signal + 1); }

std::vector<std::size_t> TCMatcher::GiveUp()
{
    std::vector<std::size_t> calls;
    for (std::size_t call = m_open; call < m_states.size() && !IsBehindSignal(call); ++call)
    {
        if (m_states[call] == OPEN)
        {
            calls.push_back(call);
            m_SetState(call, GIVEN_UP);
        }
    }
    return calls;
}

void TCMatcher::m_SetState(std::size_t call, EState state)
{
    m_openBefore -= m_states[call] == OPEN && !IsBehindSignal(call) ? 1 : 0;
    m_states[call] = state;
    while (m_open < m_states.size() && m_states[m_open] != OPEN)
    {
        ++m_open;
    }
    const TSRequest& request = m_recording.calls[call].request;
    for (TSAlike* const alike : {&m_same[request.text], &m_named[request.operation]})
    {
        alike->last = std::max(call, alike->last.value_or(0));
    }
}

void TCMatcher::m_FindSignal(std::size_t from)
{
    const auto& events = m_recording.events;
    for (m_signal = from; HasSignal() && events[m_signal].kind != TSRecordedEvent::SIGNAL; ++m_signal)
    {
        const TSRecordedEvent& event = events[m_signal];
        m_openBefore += event.kind == TSRecordedEvent::CALL && m_states[event.call] == OPEN ? 1 : 0;
    }
}

std::optional<std::size_t> TCMatcher::m_FirstOpen(TSAlike& alike) const
{
    while (alike.open < alike.calls.size() && m_states[alike.calls[alike.open]] != OPEN)
    {
        ++alike.open;
    }
    return alike.open < alike.calls.size() ? std::optional(alike.calls[alike.open]) : std::nullopt;
}
} // namespace CIM::sim
