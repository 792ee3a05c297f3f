#include "commandline/Duration.h"
#include "commandline/TerminalWidth.h"
#include "Commands.h"
#include "privatebus/BusFolder.h"
#include "ServeOptions.h"
#include "simulator/daemon/Sandbox.h"
#include "simulator/replay/Replay.h"
#include "simulator/retelling/SetFromRecording.h"
#include "simulator/scenario/Junit.h"
#include "simulator/scenario/Tell.h"
#include "json/Harmless.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <optional>

#include <glib.h>
#include <sys/mman.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
struct TSWanted
{
    std::vector<std::string> scenario; ///< one
    std::optional<std::uint64_t> seed;
    std::string journal;
    std::string junit;
    std::string stepTimeout; ///< in seconds
    unsigned stepMs = DEFAULT_WITHIN_MS;
    bool isPatient = false;
    bool isWhole = false;
    bool isVerbose = false;
    bool endsWithStory = false;
    std::string client; ///< of a recording
    TSReplayOptions replay;
    std::vector<std::string> command;
};

/// What is played: a story, or a recording.
struct TSPiece
{
    TSScenario scenario;
    std::function<std::unique_ptr<TCPlay>(const TSScenario&, TCSimulatedDaemon&, TSPlayOptions)> makePlay;
};

/// Says on standard error where the story is.
class TCTeller
{
public:
    /// \param[in] isLive  one line that is written over again and again
    TCTeller(bool isLive, bool isTold) : m_isLive(isLive), m_isTold(isTold) {}

    void operator()(const std::string& words)
    {
        if (!m_isTold)
        {
            return;
        }
        if (m_isLive)
        {
            // But for the column where a cursor that has come to its end would begin a new line.
            const unsigned columns = std::max(TerminalColumns(STDERR_FILENO), 2u) - 1;
            std::fprintf(stderr, "\r\033[K%s", CutToWidth(json::Harmless(words), columns).c_str());
            std::fflush(stderr);
        }
        else if (!words.empty())
        {
            Tell(words);
        }
    }

private:
    bool m_isLive;
    bool m_isTold;
};

std::string Reason() { return errno != 0 ? std::string(": ") + std::strerror(errno) : std::string(); }

/// Opens a file to write, unless its path is empty. \return false with a line on standard error when that fails
bool Open(std::ofstream& file, const std::string& path)
{
    if (!path.empty())
    {
        errno = 0;
        file.open(path);
        if (!file)
        {
            Tell("cannot write " + path + Reason());
            return false;
        }
    }
    return true;
}

/// A play as this command tells of it.
class TCPlayer
{
public:
    TCPlayer(const TSPiece& piece, const TSWanted& wanted)
        : m_piece(piece), m_scenario(piece.scenario), m_wanted(wanted)
    {
    }

    /// Plays, until the simulator ends. \return its exit status
    /// \param[in] end  how the command has ended, asked once it has; none: there is no command
    int Run(const std::function<void()>& ready, std::function<void()> over, std::function<TSCommandEnd()> end)
    {
        m_end = end ? std::move(end) : [this] { return m_ownEnd; };
        if (!Open(m_journal, m_wanted.journal) || !Open(m_junit, m_wanted.junit))
        {
            return 1;
        }
        const bool isAlone = m_wanted.command.empty();
        const bool isTerminal = isatty(STDERR_FILENO) == 1;
        m_options.journal = m_journal.is_open() ? &m_journal : nullptr;
        m_options.stepMs = m_wanted.stepMs;
        m_options.isPatient = m_wanted.isPatient;
        m_options.isWhole = m_wanted.isWhole;
        m_options.onProgress = TCTeller(isAlone && isTerminal && !m_wanted.isVerbose, isTerminal || m_wanted.isVerbose);
        m_options.onOver = [this, isAlone, isTerminal, over = std::move(over)]
        {
            if (!m_play->Results().empty() && (!isAlone || isTerminal || m_wanted.isVerbose))
            {
                Tell(m_scenario.name + " " + m_play->OverWords());
            }
            over();
            if (isAlone && m_wanted.endsWithStory)
            {
                m_quit(0);
            }
        };
        const int status = Serve(ServeOptions(ready));
        if (status != 0 && isAlone && !m_hasBegun)
        {
            Tell("or give a command, which gets a bus of its own: ci-daemon-sim play " + m_wanted.scenario.front() +
                 " -- COMMAND");
        }
        const int verdict = status == 0 && m_play && !m_hasBegun ? m_play->Verdict(m_end()) : m_verdict;
        if (m_play && m_junit.is_open())
        {
            errno = 0;
            m_junit << JunitReport(m_scenario.name, m_play->Results()) << std::flush;
            if (!m_junit)
            {
                Tell("the report cannot be written" + Reason());
            }
        }
        return status != 0 ? status : verdict != 0 ? verdict : !m_journal || !m_junit ? EXIT_NO_JOURNAL : 0;
    }

private:
    TSServeOptions ServeOptions(const std::function<void()>& ready)
    {
        TSServeOptions options;
        TakeScenario(m_scenario, options);
        options.company = [this](TCSimulatedDaemon& daemon, std::function<void(int)> quit)
        {
            m_quit = quit;
            m_options.quit = std::move(quit);
            m_play = m_piece.makePlay(m_scenario, daemon, m_options);
            return std::shared_ptr<void>(m_play.get(), [this](void*) { Finish(); });
        };
        options.onSignal = [this](int number) { m_ownEnd.interruption = number; };
        options.onReady = [this, ready]
        {
            m_hasBegun = true;
            m_play->Begin();
            if (ready)
            {
                ready();
            }
        };
        return options;
    }

    // The daemon is there yet; what the application has sent last may still be on its way.
    void Finish()
    {
        for (int i = 0; i < 1'000 && g_main_context_iteration(nullptr, FALSE); ++i)
        {
        }
        if (m_hasBegun)
        {
            m_verdict = m_play->Verdict(m_end());
        }
    }

    const TSPiece& m_piece;
    const TSScenario& m_scenario;
    const TSWanted& m_wanted;
    TSPlayOptions m_options;
    std::ofstream m_journal;
    std::ofstream m_junit;
    std::unique_ptr<TCPlay> m_play;
    std::function<void(int)> m_quit;
    std::function<TSCommandEnd()> m_end;
    TSCommandEnd m_ownEnd; ///< without a command a signal is all that ends the play
    bool m_hasBegun = false;
    int m_verdict = 0;
};

/// What the simulator's process and this one leave for each other.
struct TSMarks
{
    std::atomic<bool> isOver; ///< the simulator asks the command to end
    std::atomic<int> status;  ///< the simulator's
    std::atomic<bool> hasEnded;
    TSCommandEnd end; ///< the command's, once it has
};
class TCSharedMarks
{
public:
    TCSharedMarks()
        : m_marks(static_cast<TSMarks*>(
              mmap(nullptr, sizeof *m_marks, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        if (m_marks == MAP_FAILED)
        {
            throw std::bad_alloc();
        }
    }
    ~TCSharedMarks() { munmap(m_marks, sizeof *m_marks); }
    TCSharedMarks(const TCSharedMarks&) = delete;
    TCSharedMarks& operator=(const TCSharedMarks&) = delete;

    TSMarks* operator->() const { return m_marks; }

private:
    TSMarks* m_marks;
};

pid_t thePlayer = -1;

/// Here the signal is no more than a message, which may come when the command has ended already; the command's process
/// is ended by it even before it has become the command.
void OnTerminate(int number)
{
    if (getpid() != thePlayer)
    {
        std::signal(number, SIG_DFL);
        std::raise(number);
    }
}

/// Plays with the command beside. \return EXIT_NOT_FOUND and the like when there is no command to play with; else
///         EXIT_UNMET when a step was not met; 128 and the signal when a user interrupted the play; else the command's
///         exit status, or the simulator's when the command ended as it was asked to because the scenario was over
int PlayBeside(const TSPiece& piece, const TSWanted& wanted)
{
    TCSharedMarks marks;
    thePlayer = getpid();
    TSSandboxOptions sandbox;
    sandbox.command = wanted.command;
    sandbox.featureKeys = privatebus::DefaultFeatureKeys(piece.scenario.set.slots);
    sandbox.simulator = [&](const std::function<void()>& ready)
    {
        const auto over = [&]
        {
            if (wanted.endsWithStory)
            {
                marks->isOver = true;
                kill(thePlayer, SIGTERM); // which hands it on to the command
            }
        };
        const auto end = [&] { return marks->hasEnded ? marks->end : TSCommandEnd(); };
        const int status = TCPlayer(piece, wanted).Run(ready, over, end);
        marks->status = status;
        if (status == EXIT_UNMET)
        {
            marks->isOver = true;
            kill(thePlayer, SIGTERM); // without its daemon the command would wait for long
        }
        return status;
    };
    sandbox.isOver = [&] { return marks->isOver.load(); };
    sandbox.onCommandEnd = [&](const TSCommandEnd& end)
    {
        marks->end = end;
        marks->hasEnded = true;
    };
    std::signal(SIGTERM, OnTerminate);
    const int status = RunInSandbox(sandbox);
    const int verdict = marks->status;
    if (marks->end.startError != 0)
    {
        return status;
    }
    const bool isInterrupted = marks->end.interruption != 0 && verdict == 128 + marks->end.interruption;
    const bool isAsked = marks->isOver && !marks->end.IsBad();
    return verdict == EXIT_UNMET || isInterrupted || isAsked ? verdict : status;
}

TSPiece FindPiece(const TSWanted& wanted)
{
    const std::string& name = wanted.scenario.front();
    TSPiece piece;
    if (IsRecording(name))
    {
        if (wanted.isWhole)
        {
            throw TCUsageError(
                "--whole goes with a scenario: in a recording nothing is optional; --strict wants all of it");
        }
        TSRecording recording = ReadRecording(name, wanted.client);
        TSReplayOptions wishes = wanted.replay;
        if (!recording.ending.empty())
        {
            Tell(name + ": " + recording.ending);
        }
        if (wanted.replay.isStrict && recording.clients.size() > 1)
        {
            throw TCUsageError(name +
                               " is of several applications, whose calls come in no certain order: --client "
                               "says whose are played; " +
                               recording.ClientsInWords());
        }
        piece.scenario = ScenarioOf(recording, SetOf(recording));
        wishes.endsWithIt = wanted.endsWithStory;
        piece.makePlay = [recording = std::move(recording), wishes](const TSScenario& scenario,
                                                                    TCSimulatedDaemon& daemon, TSPlayOptions options)
        { return std::make_unique<TCReplay>(recording, scenario, daemon, std::move(options), wishes); };
    }
    else
    {
        if (wanted.replay.isStrict || wanted.replay.isRealTime || !wanted.client.empty())
        {
            throw TCUsageError("--strict, --real-time and --client go with a recording, FILE.pcapng");
        }
        piece.scenario = FindScenario(name);
        piece.makePlay = MakePlay;
    }
    piece.scenario.seed = wanted.seed.value_or(piece.scenario.seed);
    return piece;
}

int PlayCommand(const TSWanted& wanted)
{
    const TSPiece piece = FindPiece(wanted);
    if (wanted.command.empty())
    {
        return TCPlayer(piece, wanted).Run({}, [] {}, {});
    }
    return PlayBeside(piece, wanted);
}
} // namespace

std::function<int()> PreparePlay(TCCommandLine line)
{
    auto options = std::make_shared<TSWanted>();
    line.Words("scenario", options->scenario, EHowMany::ONE,
               "a scenario's name, see list; or a file; or a recording, FILE.pcapng or FILE.pcap");
    line.Option("--seed", options->seed, "another seed than the scenario's");
    line.Option("--journal", options->journal, "write each call and each signal to this file");
    line.Option("--junit", options->junit, "write what was met and what was not to this file, as JUnit XML");
    line.Option("--step-timeout", options->stepTimeout,
                "seconds that the application is waited for where the scenario says nothing; 10 unless given");
    line.Flag("--patient", options->isPatient,
              "wait for the application without end where the scenario says nothing, as for a person");
    line.Flag("--whole", options->isWhole, "nothing may be passed over: also what is optional has to be played");
    line.Flag("--end", options->endsWithStory,
              "when the story is over, ask the command to end, or without one end, and give 0");
    line.Flag("--strict", options->replay.isStrict,
              "of a recording: the calls have to come as they were recorded, the first difference ends the play");
    line.Flag("--real-time", options->replay.isRealTime,
              "of a recording: answers and signals take the time that they took; without, they come at once");
    line.Option("--client", options->client,
                "of a recording: only the calls of this program, or of this unique bus name");
    line.Flag("--verbose", options->isVerbose, "say on standard error where the story is");
    line.Words("command", options->command, EHowMany::ANY,
               "run this command beside it on a private bus; without: on the system bus, until SIGTERM");
    return [options]
    {
        if (!options->stepTimeout.empty())
        {
            const auto patience = PatienceFrom(options->stepTimeout);
            if (!patience)
            {
                Tell(std::string("--step-timeout: ") + PATIENCE_WORDS + " are needed, not " + options->stepTimeout +
                     " (see ci-daemon-sim play --help)");
                return 2;
            }
            options->stepMs = static_cast<unsigned>(patience->count());
            options->replay.quietMs = options->stepMs;
        }
        return PlayCommand(*options);
    };
}
} // namespace CIM::sim
