#include "soak/Application.h"
#include "soak/Driver.h"

#include "commandline/CommandLine.h"

#include <ciapi/CICallOutcome.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <random>
#include <string_view>

namespace CIM::soak
{
namespace
{
constexpr std::uint64_t CALLS_TO_FIND = 25'000; // of each application

struct SOptions
{
    unsigned seconds = 60;
    std::uint64_t calls = 0;
    std::uint64_t seed = std::random_device{}() % 1'000'000;
    unsigned applications = 3;
    unsigned threads = 4;
    std::string plant;
};

volatile std::sig_atomic_t g_isInterrupted = 0;

void Print(const SShared& shared, unsigned rounds, std::uint64_t milliseconds)
{
    const auto print = [](const char* name, const SShared::TCount& count)
    { std::printf(" %s %llu", name, static_cast<unsigned long long>(count.load())); };
    std::printf("seed %llu rounds %u seconds %llu", static_cast<unsigned long long>(shared.seed), rounds,
                static_cast<unsigned long long>(milliseconds / 1000));
    for (unsigned figure = 0; figure < FIGURE_COUNT; ++figure)
    {
        print(NameOf(static_cast<EFigure>(figure)), shared.figures[figure]);
    }
    for (unsigned outcome = 0; outcome < shared.failed.size(); ++outcome)
    {
        if (shared.failed[outcome].load() != 0)
        {
            print(("failed: " + ToString(TSCallOutcome{static_cast<ECallOutcome>(outcome), {}, {}})).c_str(),
                  shared.failed[outcome]);
        }
    }
    std::printf(" findings:");
    for (unsigned finding = 0; finding < FINDING_COUNT; ++finding)
    {
        print(NameOf(static_cast<EFinding>(finding)), shared.findings[finding]);
    }
    std::printf("\n");
}

/// \return the exit status
int Verdict(const SShared& shared)
{
    bool isRight = shared.figures[FIGURE_CALLS].load() != 0 && shared.figures[FIGURE_SUCCEEDED].load() != 0 &&
                   shared.figures[FIGURE_RECEIVED].load() != 0;
    for (unsigned finding = 0; finding < FINDING_COUNT; ++finding)
    {
        const bool isExpected = shared.plant != PLANT_NONE && finding == FindingOf(shared.plant);
        isRight = isRight && (shared.findings[finding].load() != 0) == isExpected;
    }
    return isRight ? 0 : 1;
}

int Drive(const SOptions& options)
{
    const auto plant = PlantOf(options.plant);
    if (!plant || options.applications < 1 || options.applications > LARGEST_APPLICATIONS || options.threads < 1 ||
        options.threads > LARGEST_THREADS)
    {
        throw TCUsageError("no such plant, or not 1 to " + std::to_string(LARGEST_APPLICATIONS) +
                           " applications with as many threads");
    }
    SShared& shared = MakeShared();
    shared.seed = options.seed;
    shared.threads = options.threads;
    shared.plant = *plant;
    std::printf("seed %llu\n", static_cast<unsigned long long>(options.seed));
    std::fflush(stdout);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
    {
        std::signal(number, [](int) { g_isInterrupted = 1; });
    }
    const std::uint64_t begin = NowMs();
    // However slow the machine is, what is planted must have been met.
    const std::uint64_t calls = *plant != PLANT_NONE ? CALLS_TO_FIND * options.applications : options.calls;
    const auto isOver = [&]
    {
        return g_isInterrupted != 0 || (calls != 0 ? shared.figures[FIGURE_CALLS].load() >= calls
                                                   : NowMs() >= begin + options.seconds * std::uint64_t{1000});
    };
    do
    {
        shared.mix = *plant != PLANT_NONE ? SMix{} : MakeMix(options.seed, shared.round);
        TCRound(shared, options.applications).Run(isOver);
        ++shared.round;
    } while (!isOver() && *plant == PLANT_NONE);
    Print(shared, shared.round, NowMs() - begin);
    return Verdict(shared);
}

int RunRole(std::string_view role, SShared& shared, unsigned number)
{
    if (role == "daemon")
    {
        return RunDaemon(shared, number);
    }
    return role == "stranger" ? RunStranger(shared) : RunApplication(shared, number);
}

std::function<int()> Prepare(TCCommandLine line)
{
    const auto options = std::make_shared<SOptions>();
    line.Option("--seconds", options->seconds, "how long, unless calls are counted");
    line.Option("--calls", options->calls, "how many");
    line.Option("--seed", options->seed, "the faults to repeat");
    line.Option("--applications", options->applications, "how many at once");
    line.Option("--threads", options->threads, "how many call in each");
    line.Option("--plant", options->plant,
                "one round in which this goes wrong; the exit status is 0 when it, and nothing else, is found: "
                "swap, hang, refuse, lose, double, invent, leak, descriptor, crash, stuck");
    return [options] { return Drive(*options); };
}
} // namespace
} // namespace CIM::soak

int main(int argc, char** argv)
{
    using namespace CIM::soak;
    try
    {
        if (argc == 4 && *argv[1] != '-')
        {
            return RunRole(argv[1], TakeShared(std::atoi(argv[2])), static_cast<unsigned>(std::atoi(argv[3])));
        }
        return CIM::RunCommandLine("fault_soak",
                                   "Applications, a daemon and a bus of their own, with faults at random, in rounds "
                                   "of some seconds. Every answer and every signal is checked; the exit status is 1 "
                                   "when anything was wrong.",
                                   Prepare, argc, argv);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
