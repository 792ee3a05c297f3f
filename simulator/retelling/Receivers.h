#pragma once

#include "Spoken.h"

#include <set>

namespace CIM::sim
{
/// A daemon may send each subscriber a signal of its own: tells those apart that only another receiver gets.
class TCReceivers
{
public:
    /// Whether the same signal has just come for another receiver.
    bool IsForAnother(const TSRecordedEvent& event, const TSSignal& signal);

private:
    std::optional<TSSignal> m_last; ///< that was for one receiver
    std::int64_t m_lastAt = 0;
    std::set<std::string> m_receivers; ///< ... and has come for these
};
} // namespace CIM::sim
