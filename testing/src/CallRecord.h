#pragma once

#include <ciapi-testing/Daemon.h>

#include "simulator/daemon/Journal.h"

#include <deque>
#include <map>
#include <mutex>

namespace CIM::test
{
/// The calls that a daemon has received. Thread-safe.
class TCCallRecord
{
public:
    void Add(const sim::TSJournalEntry& entry);
    void Clear();
    unsigned Count(const json::TCOperationForm& operation) const;
    /// \param[in] operation  null: all
    std::vector<TSCall> Calls(const json::TCOperationForm* operation) const;

private:
    static constexpr std::size_t MAXIMUM = 10'000;

    mutable std::mutex m_mutex;
    std::deque<sim::TSJournalEntry> m_entries;
    std::map<const json::TCOperationForm*, unsigned> m_counts;
};
} // namespace CIM::test
