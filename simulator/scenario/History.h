#pragma once

#include "CallPattern.h"
#include "simulator/definition/SignalData.h"
#include "simulator/world/Clock.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace CIM::sim
{
/// A moment of a play: how much had come by then, and the time.
struct TSMoment
{
    std::uint64_t calls = 0;
    std::uint64_t signals = 0;
    TTime now = 0; ///< virtual
};

/// The latest of what has come, each with the number of its arrival, counted from 0.
template <class T>
class TCArrivals
{
public:
    static constexpr std::size_t MAXIMUM = 65'536;

    void Add(T value)
    {
        m_values.push_back(std::move(value));
        if (m_values.size() > MAXIMUM)
        {
            m_values.pop_front();
            ++m_first;
        }
    }
    std::uint64_t End() const { return m_first + m_values.size(); }
    /// The first that is still known.
    std::uint64_t Begin() const { return m_first; }
    T& Last() { return m_values.back(); }
    const T& operator[](std::uint64_t number) const { return m_values[static_cast<std::size_t>(number - m_first)]; }

private:
    std::deque<T> m_values;
    std::uint64_t m_first = 0;
};

/// What has happened so far in a story.
struct TSHistory
{
    TCArrivals<TSMadeCall> calls;
    TCArrivals<TSSignal> signals;
    std::vector<std::optional<TSMoment>> events; ///< nothing: passed over

    TSMoment Moment(TTime now) const { return {calls.End(), signals.End(), now}; }
};
} // namespace CIM::sim
