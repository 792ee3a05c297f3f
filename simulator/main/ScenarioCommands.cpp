#include "Commands.h"
#include "privatebus/BusFolder.h"
#include "simulator/daemon/Sandbox.h"
#include "simulator/daemon/Serve.h"
#include "simulator/scenario/Story.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <optional>

#include <sys/mman.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
struct TSPlayOptions
{
    std::vector<std::string> scenario; ///< one
    std::optional<std::uint64_t> seed;
    std::string journal;
    std::vector<std::string> command;
};

/// The simulator of a scenario, until it ends. \return its exit status
int Play(const TSScenario& scenario, const std::string& journalPath, const std::function<void()>& ready)
{
    std::ofstream journal;
    if (!journalPath.empty())
    {
        errno = 0;
        journal.open(journalPath);
        if (!journal)
        {
            std::fprintf(stderr, "ci-daemon-sim: cannot write %s%s%s\n", journalPath.c_str(), errno != 0 ? ": " : "",
                         errno != 0 ? std::strerror(errno) : "");
            return 1;
        }
    }
    TSServeOptions options;
    options.set = scenario.set;
    options.seed = scenario.seed;
    options.daemon.seed = scenario.seed;
    options.daemon.isManualClock = scenario.isManualClock;
    options.daemon.namesAfterMs = scenario.namesAfterMs;
    options.daemon.nameStepMs = scenario.nameStepMs;
    std::shared_ptr<TCStory> story;
    options.company = [&](TCSimulatedDaemon& daemon, std::function<void(int)> quit)
    {
        story = std::make_shared<TCStory>(scenario, daemon, std::move(quit), journal.is_open() ? &journal : nullptr);
        // What the application has sent last may still be on its way when the simulator is told to end.
        return std::shared_ptr<void>(story.get(),
                                     [](void*)
                                     {
                                         for (int i = 0; i < 1'000 && g_main_context_iteration(nullptr, FALSE); ++i)
                                         {
                                         }
                                     });
    };
    options.onReady = [&]
    {
        story->Begin();
        if (ready)
        {
            ready();
        }
    };
    const int status = Serve(options);
    const int verdict = status == 0 && story ? story->Verdict() : status;
    return verdict == 0 && !journal ? EXIT_NO_JOURNAL : verdict;
}

/// A mark that the simulator's process leaves for this one.
class TCSharedMark
{
public:
    TCSharedMark()
        : m_mark(static_cast<std::atomic<bool>*>(
              mmap(nullptr, sizeof *m_mark, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        if (m_mark == MAP_FAILED)
        {
            throw std::bad_alloc();
        }
    }
    ~TCSharedMark() { munmap(m_mark, sizeof *m_mark); }
    TCSharedMark(const TCSharedMark&) = delete;
    TCSharedMark& operator=(const TCSharedMark&) = delete;

    void Set() { *m_mark = true; }
    bool IsSet() const { return *m_mark; }

private:
    std::atomic<bool>* m_mark;
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

/// Plays with the command beside. \return EXIT_UNMET when a step was not met, else the command's exit status
int PlayBeside(const TSScenario& scenario, const TSPlayOptions& options)
{
    TCSharedMark unmet;
    thePlayer = getpid();
    TSSandboxOptions sandbox;
    sandbox.command = options.command;
    sandbox.featureKeys = privatebus::DefaultFeatureKeys(scenario.set.slots);
    sandbox.simulator = [&](const std::function<void()>& ready)
    {
        const int status = Play(scenario, options.journal, ready);
        if (status == EXIT_UNMET)
        {
            unmet.Set();
            kill(thePlayer, SIGTERM); // which hands it on to the command: without its daemon that would wait for long
        }
        return status;
    };
    std::signal(SIGTERM, OnTerminate);
    const int status = RunInSandbox(sandbox);
    return unmet.IsSet() ? EXIT_UNMET : status;
}

int PlayCommand(const TSPlayOptions& options)
{
    TSScenario scenario = FindScenario(options.scenario.front());
    scenario.seed = options.seed.value_or(scenario.seed);
    if (options.command.empty())
    {
        return Play(scenario, options.journal, {});
    }
    return PlayBeside(scenario, options);
}

int ListCommand()
{
    const std::vector<TSScenario> scenarios = ShippedScenarios();
    std::size_t width = 0;
    for (const TSScenario& scenario : scenarios)
    {
        width = std::max(width, scenario.name.size());
    }
    for (const TSScenario& scenario : scenarios)
    {
        std::printf("%-*s  %s\n", static_cast<int>(width), scenario.name.c_str(), scenario.description.c_str());
    }
    return 0;
}

int CheckCommand(const std::vector<std::string>& files)
{
    if (files.empty())
    {
        throw TCUsageError("check: which scenario files?");
    }
    int status = 0;
    for (const std::string& file : files)
    {
        try
        {
            const TSScenario scenario = ReadScenario(json::TCJsonDocument::Load(file));
            std::printf("%s: good: %zu steps\n", file.c_str(), scenario.timeline.size());
        }
        catch (const json::TCFileError& error)
        {
            std::fprintf(stderr, "%s\n", error.what());
            status = 1;
        }
    }
    return status;
}
} // namespace

std::function<int()> PreparePlay(TCCommandLine line)
{
    auto options = std::make_shared<TSPlayOptions>();
    line.Words("scenario", options->scenario, EHowMany::ONE, "a scenario's name, see list; or a file");
    line.Option("--seed", options->seed, "another seed than the scenario's");
    line.Option("--journal", options->journal, "write each call and each signal to this file");
    line.Words("command", options->command, EHowMany::ANY,
               "run this command beside it on a private bus; without: on the system bus, until SIGTERM");
    return [options] { return PlayCommand(*options); };
}

std::function<int()> PrepareList(TCCommandLine)
{
    return [] { return ListCommand(); };
}

std::function<int()> PrepareCheck(TCCommandLine line)
{
    auto files = std::make_shared<std::vector<std::string>>();
    line.Words("file", *files, EHowMany::ANY, "scenario files");
    return [files] { return CheckCommand(*files); };
}
} // namespace CIM::sim
