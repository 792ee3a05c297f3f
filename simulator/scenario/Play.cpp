#include "Play.h"

#include "simulator/model/Model.h"
#include "Story.h"
#include "Tell.h"
#include "Timeline.h"

#include "json/Signals.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ostream>

namespace CIM::sim
{
TCPlay::TCPlay(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options)
    : m_scenario(std::move(scenario)), m_daemon(daemon), m_options(std::move(options)), m_timers(daemon.Context())
{
    m_daemon.onCall = [this](const TSJournalEntry& entry)
    {
        const TSMadeCall made = ToMadeCall(entry);
        m_Note("call " + made.Text());
        m_OnCall(made);
        if (m_scenario.msPerCall > 0 && !made.isSubscription)
        {
            m_daemon.Clock().Advance(m_scenario.msPerCall);
            m_Proceed();
        }
    };
    m_daemon.onSignal = [this](const TSSignal& signal)
    {
        m_Note("signal " + json::SignalName(signal.type) + " " + json::SignalWords(signal));
        m_OnSignal(signal);
    };
}

void TCPlay::Begin()
{
    if (!m_hasBegun)
    {
        m_hasBegun = true;
        m_Proceed();
    }
}

int TCPlay::Verdict(const TSCommandEnd& end)
{
    m_options.quit = {};
    m_isEnding = true;
    m_end = end;
    if (m_hasFailed)
    {
        return EXIT_UNMET;
    }
    if (!m_isOver && (end.interruption != 0 || end.startError != 0))
    {
        m_unreached = end.startError != 0 ? "the application was not started" : "interrupted";
        if (end.startError != 0)
        {
            return 0; // which was told, and is no matter of the scenario's
        }
        const std::string where = m_where;
        m_Progress("");
        Tell("interrupted" + (where.empty() ? "" : ": " + where));
        return 128 + end.interruption;
    }
    if (!m_isOver)
    {
        m_End();
    }
    if (!m_hasFailed && end.IsBad() && end.startError == 0)
    {
        Tell("the application does not end well: " + end.Words());
    }
    return m_hasFailed ? EXIT_UNMET : 0;
}

std::vector<TSPartResult> TCPlay::Results() const
{
    std::vector<TSPartResult> results = m_Results();
    if (m_end.IsBad())
    {
        results.push_back({"the application ends well", TSPartResult::BROKEN, m_end.Words()});
    }
    return results;
}

std::string TCPlay::OverWords() const
{
    const std::vector<TSPartResult> results = m_Results();
    const auto steps = results.begin() + static_cast<std::ptrdiff_t>(m_scenario.Steps());
    const auto played = std::count_if(results.begin(), steps,
                                      [](const TSPartResult& result) { return result.state == TSPartResult::MET; });
    return "is over and met: " + std::to_string(played) + " of " + std::to_string(m_scenario.Steps()) +
           " steps were played";
}

std::string TCPlay::m_EndedBefore() const
{
    const std::string how = m_end.Words();
    return "the application ended before" + (how.empty() ? "" : ": " + how);
}

void TCPlay::m_Progress(const std::string& words)
{
    m_where = words;
    if (m_options.onProgress)
    {
        m_options.onProgress(words);
    }
}

void TCPlay::m_Fail(int line, const std::string& text)
{
    m_Progress("");
    Tell(m_scenario.file + (line != 0 ? ":" + std::to_string(line) : "") + ": " + text);
    m_hasFailed = true;
    m_timers.CancelAll();
    if (m_options.quit)
    {
        m_options.quit(EXIT_UNMET);
    }
}

void TCPlay::m_Over()
{
    m_isOver = true;
    m_timers.CancelAll();
    if (m_options.onOver)
    {
        m_options.onOver();
    }
}

void TCPlay::m_Note(const std::string& line)
{
    std::ostream* const journal = m_options.journal;
    if (journal == nullptr || !*journal)
    {
        return;
    }
    errno = 0;
    if (m_scenario.isManualClock)
    {
        *journal << m_daemon.Model().Now() << ' ';
    }
    *journal << line << std::endl;
    if (!*journal)
    {
        Tell("the journal cannot be written" + (errno != 0 ? std::string(": ") + std::strerror(errno) : "") +
             "; it is incomplete");
    }
}

std::unique_ptr<TCPlay> MakePlay(TSScenario scenario, TCSimulatedDaemon& daemon, TSPlayOptions options)
{
    if (scenario.story)
    {
        return std::make_unique<TCStory>(std::move(scenario), daemon, std::move(options));
    }
    return std::make_unique<TCTimeline>(std::move(scenario), daemon, std::move(options));
}
} // namespace CIM::sim
