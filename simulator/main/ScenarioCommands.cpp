#include "Commands.h"
#include "simulator/daemon/Sandbox.h"
#include "simulator/daemon/Serve.h"
#include "simulator/scenario/Story.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

namespace CIM::sim
{
namespace
{
struct TSPlayOptions
{
    std::string scenario;
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
        journal.open(journalPath);
        if (!journal)
        {
            std::fprintf(stderr, "ci-daemon-sim: cannot write %s\n", journalPath.c_str());
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
    std::shared_ptr<TStory> story;
    options.company = [&](TDaemon& daemon, std::function<void(int)> quit)
    {
        story = std::make_shared<TStory>(scenario, daemon, std::move(quit), journal.is_open() ? &journal : nullptr);
        return story;
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
    return status == 0 && story ? story->Verdict() : status;
}

int PlayCommand(const TSPlayOptions& options)
{
    TSScenario scenario = FindScenario(options.scenario);
    scenario.seed = options.seed.value_or(scenario.seed);
    if (options.command.empty())
    {
        return Play(scenario, options.journal, {});
    }
    TSSandboxOptions sandbox;
    sandbox.command = options.command;
    sandbox.featureKeys = DefaultFeatureKeys(scenario.set.slots);
    sandbox.simulator = [&](const std::function<void()>& ready) { return Play(scenario, options.journal, ready); };
    return RunInSandbox(sandbox);
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
    int status = 0;
    for (const std::string& file : files)
    {
        try
        {
            const TSScenario scenario = ReadScenario(TJsonFile::Load(file));
            std::printf("%s: good: %zu steps\n", file.c_str(), scenario.timeline.size());
        }
        catch (const TFileError& error)
        {
            std::fprintf(stderr, "%s\n", error.what());
            status = 1;
        }
    }
    return status;
}
} // namespace

std::function<int()> PreparePlay(CLI::App& app)
{
    auto options = std::make_shared<TSPlayOptions>();
    app.add_option("scenario", options->scenario, "a scenario's name, see list; or a file")->required();
    app.add_option("--seed", options->seed, "another seed than the scenario's");
    app.add_option("--journal", options->journal, "write each call and each signal to this file");
    app.add_option("command", options->command,
                   "run this command beside it on a private bus; without: on the system bus, until SIGTERM");
    return [options] { return PlayCommand(*options); };
}

std::function<int()> PrepareList(CLI::App&)
{
    return [] { return ListCommand(); };
}

std::function<int()> PrepareCheck(CLI::App& app)
{
    auto files = std::make_shared<std::vector<std::string>>();
    app.add_option("file", *files, "scenario files")->required();
    return [files] { return CheckCommand(*files); };
}
} // namespace CIM::sim
