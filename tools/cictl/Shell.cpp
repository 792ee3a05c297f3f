#include "cictl/Candidates.h"
#include "cictl/DaemonAccess.h"
#include "cictl/History.h"
#include "cictl/LineEditor.h"
#include "cictl/Output.h"
#include "cictl/Program.h"
#include "cictl/Script.h"
#include "cictl/SecretWords.h"
#include "cictl/Signals.h"
#include "cictl/Time.h"
#include "cictl/Verb.h"
#include "cictl/Worker.h"

#include "json/Secret.h"
#include "json/Signals.h"

#include <glib-unix.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
constexpr const char* PROMPT = "cictl> ";
constexpr std::size_t MOST_HELD = 1'000; // signals behind the output of a verb

// The words in front of the cursor, the last of them as far as it is typed.
std::vector<std::string> TypedWords(const std::string& text)
{
    std::vector<std::string> words;
    try
    {
        words = WordsOf(text);
    }
    catch (const TCFailure&)
    {
        return {}; // within a quotation
    }
    if (text.empty() || text.ends_with(' ') || text.ends_with('\t') || words.empty())
    {
        words.emplace_back();
    }
    return words;
}

/// The daemon's signals, as soon as there is a daemon.
class TCNews
{
public:
    explicit TCNews(std::function<void(const std::string& line)> tell) : m_tell(std::move(tell)) {}
    ~TCNews()
    {
        if (m_end != 0)
        {
            g_source_remove(m_end);
        }
    }
    TCNews(const TCNews&) = delete;
    TCNews& operator=(const TCNews&) = delete;

    /// Begins to listen, when it does not yet and there is a daemon.
    void Listen()
    {
        if (m_signals)
        {
            return;
        }
        try
        {
            m_daemon = std::make_unique<TCDaemonAccess>();
            auto signals = std::make_unique<TCSignals>(*m_daemon, [this](const TSSignal& signal) { Tell(signal); });
            for (const auto& entry : m_daemon->SlotStatuses())
            {
                for (const protocol::SSignalRow& row : protocol::SIGNAL_ROWS)
                {
                    signals->Subscribe(row.type, PROFILE_MAIN, entry.first);
                }
            }
            m_signals = std::move(signals);
            // A daemon that comes back wants to be asked again, and its comings and goings are news, too.
            m_signals->WatchDaemon(
                [this](const TCBus::TSOwnerChange& change)
                {
                    if (change.name == json::FindInterface("ICISignalSubscriber")->ConnectionName())
                    {
                        m_tell(std::string("the CI daemon ") + (change.owner.empty() ? "is gone" : "is back"));
                        if (!change.owner.empty())
                        {
                            m_signals->Renew();
                        }
                    }
                });
            // Not from within what fails: the object goes.
            m_signals->OnFailure(
                [this]
                {
                    if (m_end == 0)
                    {
                        // Before what fails can do so again.
                        m_end = g_idle_add_full(G_PRIORITY_HIGH, &s_OnEnd, this, nullptr);
                    }
                });
            m_why.clear();
        }
        catch (const std::exception& failure)
        {
            m_signals.reset();
            m_daemon.reset();
            if (m_why != failure.what())
            {
                m_why = failure.what();
                m_tell("no signals: " + m_why);
            }
        }
    }

private:
    // The bus has gone, or the daemon that came back refuses.
    static gboolean s_OnEnd(gpointer self)
    {
        auto& news = *static_cast<TCNews*>(self);
        news.m_end = 0;
        news.m_signals.reset();
        news.m_daemon.reset();
        news.m_tell("there are no signals any more");
        return G_SOURCE_REMOVE;
    }

    void Tell(const TSSignal& signal)
    {
        m_tell(Now() + " " + json::SignalName(signal.type) + " " + json::SignalWords(signal));
    }

    std::function<void(const std::string& line)> m_tell;
    std::unique_ptr<TCDaemonAccess> m_daemon;
    std::unique_ptr<TCSignals> m_signals;
    std::string m_why;
    guint m_end = 0;
};

/// Verbs that show signals by themselves: what comes meanwhile would be told twice.
bool ShowsSignals(const std::string& verb)
{
    return verb == "watch" || verb == "menu" || verb == "trace" || verb == "shell";
}

class TCShell
{
public:
    TCShell()
        : m_editor(PROMPT, [](const std::string& text) { return CompleteWords(TypedWords(text)); }),
          m_news([this](const std::string& line) { Tell(line); })
    {
        for (const std::string& line : m_history.Lines())
        {
            m_editor.Remember(line);
        }
        m_interrupt = g_unix_signal_add(SIGINT, &s_OnInterrupt, this);
        m_end = g_unix_signal_add(SIGTERM, &s_OnEnd, this);
    }
    ~TCShell()
    {
        g_source_remove(m_interrupt);
        g_source_remove(m_end);
    }
    TCShell(const TCShell&) = delete;
    TCShell& operator=(const TCShell&) = delete;

    EExit Run()
    {
        while (true)
        {
            if (m_isEnding)
            {
                return EXIT_TERMINATED;
            }
            m_news.Listen();
            std::optional<std::string> line = m_editor.Read();
            if (!line || m_isEnding)
            {
                return m_isEnding ? EXIT_TERMINATED : EXIT_ANSWERED;
            }
            const json::TCWipeAtEnd wipe(*line);
            try
            {
                std::vector<std::string> words = WordsOf(*line);
                if (words.empty())
                {
                    continue;
                }
                if (words.front() == "exit" || words.front() == "quit")
                {
                    return EXIT_ANSWERED;
                }
                if (words.front() == "help")
                {
                    *line = "--help";
                }
                Keep(*line, words);
                RunVerb(*line, words.front());
                for (std::string& word : words)
                {
                    json::Wipe(word);
                }
            }
            catch (const TCFailure& failure)
            {
                PrintFailure(failure.Status(), failure.what(), false);
            }
        }
    }

private:
    void Keep(const std::string& line, const std::vector<std::string>& words)
    {
        const auto verbs = Verbs();
        const bool isVerb =
            std::any_of(verbs.begin(), verbs.end(), [&](const TSVerb& verb) { return words.front() == verb.name; });
        if (isVerb && !MayHoldSecret(words) && line.find('\n') == line.npos)
        {
            m_editor.Remember(line);
            m_history.Add(line);
        }
    }

    void RunVerb(const std::string& line, const std::string& verb)
    {
        m_isBusy = true;
        m_worker.Begin(line);
        bool hasEnded = false;
        const guint source = g_unix_fd_add(
            m_worker.Descriptor(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
            [](gint, GIOCondition, gpointer flag) -> gboolean
            {
                *static_cast<bool*>(flag) = true;
                return G_SOURCE_CONTINUE;
            },
            &hasEnded);
        while (!hasEnded)
        {
            g_main_context_iteration(nullptr, TRUE);
        }
        g_source_remove(source);
        const int status = m_worker.End();
        m_isBusy = false;
        if (status > 128)
        {
            std::fputc('\n', stdout); // behind "^C"
        }
        else if (status == EXIT_REFUSED)
        {
            Print("(refused)");
        }
        const std::vector<std::string> held = std::exchange(m_held, {});
        for (const std::string& news : held)
        {
            if (!ShowsSignals(verb))
            {
                Print(news);
            }
        }
    }

    void Tell(const std::string& line)
    {
        if (!m_isBusy)
        {
            Print(line);
        }
        else if (m_held.size() < MOST_HELD)
        {
            m_held.push_back(line);
        }
    }

    void Print(const std::string& line)
    {
        const bool isColoured = IsColoured(STDOUT_FILENO);
        m_editor.PrintAbove((isColoured ? "\x1b[2m" : "") + Harmless(line) + (isColoured ? "\x1b[0m\n" : "\n"));
    }

    // Between two verbs it is the line's; a verb's process gets it by itself.
    static gboolean s_OnInterrupt(gpointer self)
    {
        auto& shell = *static_cast<TCShell*>(self);
        if (!shell.m_isBusy)
        {
            shell.m_editor.Interrupt();
        }
        return G_SOURCE_CONTINUE;
    }

    static gboolean s_OnEnd(gpointer self)
    {
        static_cast<TCShell*>(self)->m_isEnding = true;
        static_cast<TCShell*>(self)->m_editor.Interrupt();
        return G_SOURCE_CONTINUE;
    }

    TCHistory m_history;
    TCLineEditor m_editor;
    TCWorker m_worker;
    std::vector<std::string> m_held;
    bool m_isBusy = false;
    bool m_isEnding = false;
    guint m_interrupt = 0;
    guint m_end = 0;
    TCNews m_news;
};
} // namespace

EExit ShellVerb(const TCArguments&)
{
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1)
    {
        return RunStandardInput();
    }
    return TCShell().Run();
}
} // namespace CIM::cictl
