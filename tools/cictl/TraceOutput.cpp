#include "cictl/TraceOutput.h"

#include "cictl/Output.h"

#include <cstdio>

namespace CIM::cictl
{
namespace
{
constexpr TSField TRACE_FIELDS[] = {
    {"time", ""},          {"kind", ""},           {"from", "from"},     {"operation", ""},    {"type", ""},
    {"oneWay", "one-way"}, {"program", "program"}, {"arguments", ""},    {"status", "status"}, {"result", "result"},
    {"outputs", ""},       {"profile", "profile"}, {"handle", "handle"}, {"slot", "slot"},     {"code", "code"},
    {"id", "id"},          {"value", "value"},     {"meaning", ""},      {"words", ""},        {"text", ""},
    {"data", "data"},      {"ms", "ms"},           {"error", "error"},
};
} // namespace

TCTraceOutput::TCTraceOutput(const TCArguments& arguments)
    : m_filter(arguments), m_dissector({.showSecrets = arguments.IsSet("show-secrets"),
                                        .showRaw = arguments.IsSet("raw"),
                                        .asJson = arguments.IsJson()}),
      m_isSummary(arguments.IsSet("summary")), m_isQuiet(arguments.IsSet("quiet")), m_asJson(arguments.IsJson()),
      m_count(arguments.Number("count", 1, 1'000'000'000, 0))
{
    if (m_isQuiet && (!arguments.Has("record") || m_isSummary || arguments.IsSet("chart")))
    {
        throw TCFailure(EXIT_USAGE, "--quiet goes with --record, and with neither --summary nor --chart");
    }
    if (arguments.IsSet("chart"))
    {
        if (m_isSummary || m_asJson)
        {
            throw TCFailure(EXIT_USAGE, "--chart is a text of its own: it goes with neither --summary nor --json");
        }
        m_chart.emplace();
    }
}

bool TCTraceOutput::Take(DBusMessage* message, const recording::TSMoment& moment)
{
    if (m_isQuiet && !HasCount())
    {
        return m_dissector.PassOver(message);
    }
    const TCDissector::TSDescribed described = m_dissector.Describe(message, moment);
    m_filter.Meet(described);
    if (m_chart)
    {
        m_chart->Meet(message, described.record);
    }
    if (m_filter.IsWanted(described))
    {
        ++m_seen;
        if (m_isSummary)
        {
            m_summary.Add(described);
        }
        else if (m_chart)
        {
            m_chart->Add(message, described);
        }
        else if (!m_isQuiet)
        {
            PrintEvent(TRACE_FIELDS, described.record, m_asJson);
        }
    }
    return !described.record.is_null();
}

void TCTraceOutput::Finish()
{
    if (m_isSummary)
    {
        std::map<std::string, std::uint64_t> unanswered;
        for (const TCDissector::TSDescribed& call : m_dissector.UnansweredCalls())
        {
            unanswered[call.record["operation"].get<std::string>()] += m_filter.IsOfWanted(call) ? 1 : 0;
        }
        m_summary.Print(unanswered, m_asJson);
    }
    else if (m_chart)
    {
        m_chart->Print();
    }
    else if (m_filter.IsForErrors() && !m_isQuiet && !IsFull())
    {
        for (const TCDissector::TSDescribed& call : m_dissector.UnansweredCalls())
        {
            if (m_filter.IsWanted(call))
            {
                PrintEvent(TRACE_FIELDS, call.record, m_asJson);
            }
        }
    }
    if (const std::string missing = m_filter.Missing(); !missing.empty() && !m_isQuiet)
    {
        Out().flush();
        std::fprintf(stderr, "cictl: %s\n", Harmless(missing).c_str());
    }
}
} // namespace CIM::cictl
