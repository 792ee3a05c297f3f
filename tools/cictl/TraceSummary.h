#pragma once

#include "cictl/Dissector.h"

#include <array>
#include <map>

namespace CIM::cictl
{
/// Counts what a trace tells, an operation a line. Takes the same memory however long the trace is. Bound to its thread.
class TCTraceSummary
{
public:
    void Add(const TCDissector::TSDescribed& described);
    /// \param[in] unanswered  the calls that still wait for their replies, by operation
    void Print(const std::map<std::string, std::uint64_t>& unanswered, bool asJson) const;

private:
    /// How often which time came: a bucket is at most a sixteenth wide, the slowest is exact.
    class TCTimes
    {
    public:
        void Add(double ms);
        double AtShare(double share) const;
        double Slowest() const { return m_slowest; }
        std::uint64_t Count() const { return m_count; }

    private:
        static constexpr std::size_t PARTS = 16;
        static constexpr std::size_t POWERS = 40; ///< of two, in microseconds

        std::array<std::uint32_t, PARTS * POWERS> m_counts{};
        std::uint64_t m_count = 0;
        double m_slowest = 0;
    };
    struct TSLine
    {
        std::uint64_t calls = 0;
        std::uint64_t failures = 0;
        TCTimes times;
    };

    std::map<std::string, TSLine> m_lines;
    std::map<std::string, std::uint64_t> m_signals;
};
} // namespace CIM::cictl
