#include "Story.h"

#include "Words.h"
#include "json/Harmless.h"

#include <algorithm>

// What a story says about itself: what is not met, and what came instead.

namespace CIM::sim
{
std::string TCStory::m_Step(std::size_t index) const
{
    return "step " + std::to_string(index + 1) + " of " + std::to_string(m_Events().size()) + ": " +
           m_Events()[index].says;
}

std::string TCStory::m_Reference(std::size_t index) const
{
    return "step " + std::to_string(index + 1) + " (" + m_Events()[index].says + ")";
}

bool TCStory::m_FailEvent(const TSEvent& event, const std::string& why)
{
    m_failure = why;
    m_failedEvent = static_cast<std::size_t>(&event - m_Events().data());
    m_Fail(event.line, m_Step(*m_failedEvent) + "\n  " + why);
    return false;
}

bool TCStory::m_FailWatch(const TCWatch& watch, const std::string& but)
{
    const TSExpectation& expectation = watch.Expectation();
    m_failure = expectation.call.Words() + (expectation.IsNever() ? " must not come" : " is due ") +
                (expectation.IsNever() ? "" : expectation.Times()) + m_Window(expectation) + "\n  " + but;
    m_Fail(expectation.line,
           (expectation.IsNever() ? "never: " : "expected: ") + expectation.says + "\n  " + m_failure);
    return false;
}

std::string TCStory::m_Window(const TSExpectation& expectation) const
{
    std::string words;
    if (expectation.after)
    {
        words += " after " + m_Reference(*expectation.after);
    }
    if (expectation.before)
    {
        words += (words.empty() ? " before " : " and before ") + m_Reference(*expectation.before);
    }
    if (expectation.withinMs)
    {
        words += (words.empty() ? " within " : ", within ") + std::to_string(*expectation.withinMs) + " ms";
    }
    return words;
}

std::string TCStory::m_Instead(const TSWhen& when)
{
    std::string words;
    const std::string since = m_next > 0 ? "since " + m_Reference(m_next - 1) : "at all";
    when.ForEach(
        [&](const TSCondition& condition)
        {
            TSCondition again = condition;
            if (!words.empty() || again.holds(m_Scene()))
            {
                return;
            }
            if (condition.now)
            {
                // The event before may have been the call itself.
                const std::string refused =
                    LastRefused(m_history.calls, m_since.calls - std::min<std::uint64_t>(m_since.calls, 1));
                words +=
                    "\n  but " + json::Harmless(condition.now(m_Scene())) + (refused.empty() ? "" : ", and " + refused);
            }
            if (condition.call)
            {
                std::string nearest = NearestTo(*condition.call, m_history.calls, m_since.calls);
                words += "\n  but " + (nearest.empty() ? "no call came " + since : nearest);
            }
        });
    return words;
}

std::string TCStory::m_InsteadOf(const TCWatch& watch) const
{
    const TCCallPattern& pattern = watch.Expectation().call;
    for (std::uint64_t i = m_history.calls.Begin(); i < watch.Begin(); ++i)
    {
        if (pattern.Matches(m_history.calls[i]))
        {
            return "but it came too early: before " + m_Reference(*watch.Expectation().after);
        }
    }
    const std::string nearest = NearestTo(pattern, m_history.calls, watch.Begin());
    return "but " + (nearest.empty() ? "no call came in that time" : nearest);
}

std::vector<TSPartResult> TCStory::m_Results() const
{
    std::vector<TSPartResult> results;
    for (std::size_t i = 0; i < m_Events().size(); ++i)
    {
        TSPartResult result{m_Step(i), TSPartResult::MET, {}};
        if (i >= m_next || !m_passedOver[i].empty())
        {
            const bool isUnmet = m_failedEvent == i;
            result.state = isUnmet ? TSPartResult::UNMET : TSPartResult::PASSED_OVER;
            result.words = isUnmet ? m_failure : i < m_next ? m_passedOver[i] : m_unreached;
        }
        results.push_back(std::move(result));
    }
    for (const TCWatch& watch : m_watches)
    {
        const TSExpectation& expectation = watch.Expectation();
        TSPartResult result{
            (expectation.IsNever() ? "never: " : "expected: ") + expectation.says, TSPartResult::MET, {}};
        if (watch.State() == TCWatch::UNMET)
        {
            result.state = TSPartResult::UNMET;
            result.words = m_failure;
        }
        else if (watch.State() != TCWatch::MET)
        {
            result.state = TSPartResult::PASSED_OVER;
            result.words = m_end.interruption != 0 ? m_unreached : "what it is about was not played to its end";
        }
        results.push_back(std::move(result));
    }
    return results;
}
} // namespace CIM::sim
