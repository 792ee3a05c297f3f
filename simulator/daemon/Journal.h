#pragma once

#include "simulator/world/Clock.h"
#include "json/OperationForm.h"

#include <cstdint>
#include <deque>
#include <string>

namespace CIM::sim
{
/// A call that was received, and what became of it.
struct TSJournalEntry
{
    std::uint64_t number = 0; ///< counted from 1
    TTime time = 0;           ///< virtual
    std::string interface;    ///< "ICIGeneral", or the name that was called when there is no such interface
    const json::TCOperationForm* operation = nullptr; ///< null: unknown
    short methodId = 0;
    bool isOneWay = false;
    std::string client; ///< unique bus name
    int processId = 0;
    std::string program;
    std::string request; ///< the payloads
    std::string reply;
    json::TJson sealed;       ///< once Seal has wiped the request: what ToJson shows of it
    const char* outcome = ""; ///< "answered", "unknown-method" or "malformed"
    std::string fault;        ///< the kind of the fault that met the call; empty: none

    /// The name of the operation, or the identifier of an unknown one as text.
    std::string OperationName() const;
    /// The call with its arguments, result and outputs. A request that does not decode is spelled out in hexadecimal
    /// digits, unless a secret could stand in it: of that only the size is told.
    json::TJson ToJson() const;
    /// Forgets a request that may hold a secret, but for what ToJson shows.
    void Seal();
    std::size_t Size() const { return request.size() + reply.size(); }

private:
    json::TJson m_RequestToJson() const;
    bool m_MayHideSecrets() const;
};

/// The calls received, the latest last. It forgets the oldest ones rather than grow without end.
class TCJournal
{
public:
    const TSJournalEntry& Add(TSJournalEntry entry);
    /// Seals the latest entry.
    void SealLast();
    void Clear() { m_entries.clear(), m_bytes = 0; }
    const std::deque<TSJournalEntry>& Entries() const { return m_entries; }
    json::TJson ToJson() const;

private:
    static constexpr std::size_t MAXIMUM_ENTRIES = 10'000;
    static constexpr std::size_t MAXIMUM_BYTES = 16 << 20;

    std::deque<TSJournalEntry> m_entries;
    std::size_t m_bytes = 0;
    std::uint64_t m_lastNumber = 0;
};
} // namespace CIM::sim
