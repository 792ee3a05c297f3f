#include "Play.h"

#include "simulator/model/Model.h"
#include "Story.h"
#include "Timeline.h"

#include "json/Signals.h"

#include <cerrno>
#include <cstdio>
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

int TCPlay::Verdict()
{
    m_options.quit = {};
    m_isEnding = true;
    if (!m_hasFailed && !m_isOver)
    {
        m_End();
    }
    return m_hasFailed ? EXIT_UNMET : 0;
}

void TCPlay::m_Progress(const std::string& words)
{
    if (m_options.onProgress)
    {
        m_options.onProgress(words);
    }
}

void TCPlay::m_Fail(int line, const std::string& text)
{
    m_Progress("");
    std::fprintf(stderr, "ci-daemon-sim: %s:%d: %s\n", m_scenario.file.c_str(), line, text.c_str());
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
        std::fprintf(stderr, "ci-daemon-sim: the journal cannot be written%s%s; it is incomplete\n",
                     errno != 0 ? ": " : "", errno != 0 ? std::strerror(errno) : "");
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
