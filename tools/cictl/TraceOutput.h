#pragma once

#include "cictl/TraceChart.h"
#include "cictl/TraceFilter.h"
#include "cictl/TraceSummary.h"

namespace CIM::cictl
{
/// What is shown of a trace, as its options say: a line a message, or at the end a summary or a chart. Bound to its thread.
class TCTraceOutput
{
public:
    /// \throws TCFailure
    explicit TCTraceOutput(const TCArguments& arguments);

    TCDissector& Dissector() { return m_dissector; }
    const TCTraceFilter& Filter() const { return m_filter; }
    /// \return whether the message is one of the CI daemon's or a mark, wanted or not
    bool Take(DBusMessage* message, const recording::TSMoment& moment);
    /// Whether as many messages have been shown as --count says.
    bool IsFull() const { return m_count != 0 && m_seen >= m_count; }
    /// Whether nothing more will be shown, though more may be wanted.
    bool IsChartFull() const { return m_chart && m_chart->IsFull(); }
    bool HasCount() const { return m_count != 0; }
    bool IsShownAtEnd() const { return m_isSummary || m_chart; }
    /// What comes at the end.
    void Finish();

private:
    TCTraceFilter m_filter;
    TCDissector m_dissector;
    TCTraceSummary m_summary;
    std::optional<TCTraceChart> m_chart;
    bool m_isSummary;
    bool m_isQuiet;
    bool m_asJson;
    long m_count;
    long m_seen = 0;
};

/// Reads a recording instead of the bus. \throws TCFailure
EExit TraceFile(const TCArguments& arguments);
} // namespace CIM::cictl
