#pragma once

#include "Recording.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace CIM::sim
{
/// Finds to each call of an application the one of a recording that it is, or is most like, and knows how far into the
/// recording that leads. Signals part a recording: what stands behind a signal may have come of it, so that it is looked
/// for only when nothing before the signal fits. Knows no bus and no time.
class TCMatcher
{
public:
    enum EHow
    {
        AS_RECORDED,     ///< the same call, for the first time
        AGAIN,           ///< the same call, as often as the recording has it, or out of its turn
        OTHER_ARGUMENTS, ///< the same operation
        UNKNOWN,         ///< the recording has no call of the operation
    };
    enum EState : char
    {
        OPEN,
        DONE,
        GIVEN_UP, ///< did not come in time
    };
    struct TSMatch
    {
        EHow how = UNKNOWN;
        std::size_t call = 0; ///< index in the recording
        bool isTaken = false; ///< it had not come before
    };

    /// \param[in] recording  outlives this
    explicit TCMatcher(const TSRecording& recording);

    /// Finds the recorded call, which counts as made then.
    TSMatch Match(const TSRequest& request);
    /// The next call of the recording that has not come, to be compared in a strict play. \return nothing at its end
    std::optional<std::size_t> NextCall() const
    {
        return m_open < m_states.size() ? std::optional(m_open) : std::nullopt;
    }
    void Take(std::size_t call) { m_SetState(call, DONE); }

    /// The event that comes next of the daemon, a signal: index in the events; their number when there is none.
    std::size_t NextSignal() const { return m_signal; }
    bool HasSignal() const { return m_signal < m_recording.events.size(); }
    /// Whether all calls before the next signal have come, or were given up.
    bool IsSignalDue() const { return m_openBefore == 0; }
    /// Where a call stands in the events.
    std::size_t PlaceOf(std::size_t call) const { return m_places[call]; }
    /// Whether a call stands behind the next signal.
    bool IsBehindSignal(std::size_t call) const { return m_places[call] > m_signal; }
    /// The next signal was sent.
    void PassSignal();
    /// No more is expected of the calls before the next signal, or before the end. \return their indices
    std::vector<std::size_t> GiveUp();
    /// Whether nothing is left but that the application takes its leave, and what comes behind.
    bool IsOver() const
    {
        const std::size_t end = m_leave < m_places.size() ? m_places[m_leave] : m_recording.events.size();
        return m_open >= m_leave && m_signal >= end;
    }

    /// How many calls there are but those by which the application takes its leave.
    std::size_t CallsToLeave() const { return m_leave; }

    EState StateOf(std::size_t call) const { return m_states[call]; }

private:
    struct TSAlike
    {
        std::vector<std::size_t> calls;  ///< in the recording's order
        std::size_t open = 0;            ///< all before this one have come or were given up
        std::optional<std::size_t> last; ///< the latest of those
    };

    void m_SetState(std::size_t call, EState state);
    void m_FindSignal(std::size_t from);
    /// The first open one of them. \return nothing when there is none
    std::optional<std::size_t> m_FirstOpen(TSAlike& alike) const;

    const TSRecording& m_recording;
    std::vector<EState> m_states;
    std::vector<std::size_t> m_places;      ///< of the calls in the events
    std::map<std::string, TSAlike> m_same;  ///< by the request's text
    std::map<std::string, TSAlike> m_named; ///< by the operation
    std::size_t m_signal = 0;
    std::size_t m_leave = 0;      ///< from this call on there are only unsubscriptions
    std::size_t m_open = 0;       ///< the first call that has not come
    std::size_t m_openBefore = 0; ///< calls before m_signal that have not come
};
} // namespace CIM::sim
