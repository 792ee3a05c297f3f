#pragma once

#include "cictl/Dissector.h"

#include <map>
#include <string>
#include <vector>

namespace CIM::cictl
{
/// Draws what a trace tells as a sequence diagram in Mermaid's language, as bug trackers show it: applications, the CI
/// daemon, and who says what to whom. Takes the same memory however long the trace is. Bound to its thread.
class TCTraceChart
{
public:
    /// Looks who a message is from, whether it is wanted or not: an application says its name only at first.
    void Meet(DBusMessage* message, const TJson& record);
    /// Adds a message that was described. Does nothing once the chart is full.
    void Add(DBusMessage* message, const TCDissector::TSDescribed& described);
    /// Whether more has come than a reader could follow.
    bool IsFull() const;
    void Print() const;

private:
    enum class EKind
    {
        CALL,
        BAD_CALL,
        ONE_WAY,
        REPLY,
        BAD_REPLY,
        SIGNAL,
        MARK,
    };
    struct TSRow
    {
        EKind kind;
        std::string application; ///< its unique name on the bus; empty: whoever listens
        std::string text;
        bool isOfBus = false; ///< the bus answers in the place of a daemon that does not
        recording::TSMoment moment;
        double ms = 0;

        /// Whether it says the same, at whatever time.
        bool Repeats(const TSRow& other) const;
    };
    /// Rows that have come so many times, one round after the other.
    struct TSPiece
    {
        std::vector<TSRow> rows;
        std::uint64_t count = 1;
        recording::TSMoment last;
        double slowestMs = 0;
    };
    class TCPage;

    void m_Fold();
    bool m_Repeats(std::size_t first, std::size_t second, std::size_t length) const;
    void m_Merge(std::size_t target, std::size_t first, std::size_t length);

    std::vector<TSPiece> m_pieces;
    std::size_t m_rowCount = 0;
    std::map<std::string, std::int64_t, std::less<>> m_processes; ///< by unique name
    std::map<std::int64_t, std::string> m_programs;               ///< by process
};
} // namespace CIM::cictl
