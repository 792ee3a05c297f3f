#include "cictl/TraceSummary.h"

#include "cictl/Output.h"
#include "cictl/TraceFilter.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace CIM::cictl
{
namespace
{
constexpr TSField FIELDS[] = {{"operation", "operation"},   {"count", "count"},      {"failures", "failures"},
                              {"unanswered", "unanswered"}, {"median", "median ms"}, {"p99", "p99 ms"},
                              {"slowest", "slowest ms"}};

constexpr std::size_t MOST_LINES = 1000; ///< what a message calls or is called may be anything
constexpr const char* OTHERS = "others";

/// Where a name is counted.
template <class Value>
Value& Line(std::map<std::string, Value>& lines, const std::string& name)
{
    const auto found = lines.find(name);
    return found != lines.end() ? found->second : lines[lines.size() < MOST_LINES ? name : OTHERS];
}

double Rounded(double ms) { return std::round(ms * 1000) / 1000; }
} // namespace

void TCTraceSummary::TCTimes::Add(double ms)
{
    const auto micros = static_cast<std::uint64_t>(std::clamp(ms * 1000, 0.0, 1e12)) + PARTS;
    const auto power = static_cast<std::size_t>(std::bit_width(micros)) - 5; // of the first part: PARTS itself
    const std::size_t bucket = power * PARTS + (micros >> power) - PARTS;
    ++m_counts[std::min(bucket, m_counts.size() - 1)];
    ++m_count;
    m_slowest = std::max(m_slowest, ms);
}

double TCTraceSummary::TCTimes::AtShare(double share) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(m_count)));
    std::uint64_t seen = 0;
    for (std::size_t bucket = 0; bucket < m_counts.size(); ++bucket)
    {
        seen += m_counts[bucket];
        if (seen >= wanted && seen > 0)
        {
            const std::size_t power = bucket / PARTS;
            const double begin =
                std::ldexp(static_cast<double>(bucket % PARTS + PARTS), static_cast<int>(power)) - PARTS;
            const double width = std::ldexp(1.0, static_cast<int>(power));
            return std::min((begin + width / 2) / 1000, m_slowest);
        }
    }
    return m_slowest;
}

void TCTraceSummary::Add(const TCDissector::TSDescribed& described)
{
    const TJson& record = described.record;
    const std::string kind = record["kind"];
    if (kind == "signal")
    {
        const TJson& type = record["type"];
        ++Line(m_signals, type.is_string() ? type.get<std::string>() : json::Dump(type));
        return;
    }
    if (kind == "mark")
    {
        return;
    }
    TSLine& line = Line(m_lines, record["operation"].get<std::string>());
    line.calls += kind == "call" ? 1 : 0;
    line.failures += IsFailure(described) && !described.isOfBadCall ? 1 : 0; // that call has been counted
    if (described.ms)
    {
        line.times.Add(*described.ms);
    }
}

void TCTraceSummary::Print(const std::map<std::string, std::uint64_t>& unanswered, bool asJson) const
{
    std::map<std::string, std::uint64_t> waiting;
    for (const auto& [name, count] : unanswered)
    {
        waiting[m_lines.count(name) > 0 ? name : OTHERS] += count;
    }
    TJson records = TJson::array();
    for (const auto& [name, line] : m_lines)
    {
        TJson record = {
            {"operation", name}, {"count", line.calls}, {"failures", line.failures}, {"unanswered", waiting[name]}};
        if (line.times.Count() > 0)
        {
            record["median"] = Rounded(line.times.AtShare(0.5));
            record["p99"] = Rounded(line.times.AtShare(0.99));
            record["slowest"] = Rounded(line.times.Slowest());
        }
        records.push_back(std::move(record));
    }
    for (const auto& [name, count] : m_signals)
    {
        records.push_back({{"operation", name}, {"count", count}});
    }
    PrintTable(FIELDS, records, asJson);
}
} // namespace CIM::cictl
