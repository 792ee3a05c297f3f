#include "soak/Application.h"
#include "soak/Driver.h"
#include "soak/Options.h"

#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace CIM::soak
{
namespace
{
const char* NameOfOutcome(std::size_t outcome)
{
    constexpr const char* NAMES[] = {"none",     "answered",    "sent",    "not-ready",   "not-sent",
                                     "no-reply", "error-reply", "refused", "not-readable"};
    return outcome < std::size(NAMES) ? NAMES[outcome] : "unknown";
}

void Print(const SShared& shared, unsigned rounds, std::uint64_t milliseconds)
{
    const SFigures& figures = shared.figures;
    const auto of = [](const SFigures::TCount& count) { return static_cast<unsigned long long>(count.load()); };
    std::printf("seed %" PRIu64 " rounds %u seconds %" PRIu64 " calls %llu one-way %llu succeeded %llu failed",
                shared.seed, rounds, milliseconds / 1000, of(figures.calls), of(figures.oneWay), of(figures.succeeded));
    for (std::size_t outcome = 0; outcome < figures.failed.size(); ++outcome)
    {
        if (figures.failed[outcome].load() != 0)
        {
            std::printf(" %s %llu", NameOfOutcome(outcome), of(figures.failed[outcome]));
        }
    }
    std::printf(" (excused %llu) lies-read %llu signals sent %llu delivered %llu received %llu lost %llu doubled %llu "
                "disordered %llu forks %llu ends orderly %llu exit %llu exit-on-thread %llu _exit %llu longest-call-ms "
                "%llu drift descriptors %llu heap-KiB %llu resident-KiB %llu findings",
                of(figures.excused), of(figures.lies), of(figures.signalsSent), of(figures.signalsDelivered),
                of(figures.signalsReceived), of(figures.signalsLost), of(figures.signalsDoubled),
                of(figures.signalsDisordered), of(figures.forks), of(figures.endings[ENDING_ORDERLY]),
                of(figures.endings[ENDING_EXIT]), of(figures.endings[ENDING_EXIT_THREAD]),
                of(figures.endings[ENDING_EXIT_NOW]), of(figures.longestCallUs) / 1000, of(figures.descriptorDrift),
                of(figures.memoryDriftKiB), of(figures.residentDriftKiB));
    for (unsigned finding = 0; finding < FINDING_COUNT; ++finding)
    {
        std::printf(" %s %llu", NameOf(static_cast<EFinding>(finding)), of(figures.findings[finding]));
    }
    std::printf("\n");
}

/// \return the exit status
int Verdict(const SShared& shared)
{
    const SFigures& figures = shared.figures;
    bool isRight = figures.calls.load() != 0 && figures.succeeded.load() != 0 && figures.signalsReceived.load() != 0;
    for (unsigned finding = 0; finding < FINDING_COUNT; ++finding)
    {
        const bool isExpected = shared.plant != PLANT_NONE && finding == FindingOf(shared.plant);
        isRight = isRight && (figures.findings[finding].load() != 0) == isExpected;
    }
    return isRight ? 0 : 1;
}

constexpr std::uint64_t CALLS_TO_FIND = 25'000; // of each application

volatile std::sig_atomic_t g_isInterrupted = 0;

int Drive(const SOptions& options)
{
    SShared& shared = MakeShared(g_sharedDescriptor);
    shared.seed = options.seed;
    shared.threads = options.threads;
    shared.plant = options.plant;
    std::printf("seed %" PRIu64 "\n", options.seed);
    std::fflush(stdout);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
    {
        std::signal(number, [](int) { g_isInterrupted = 1; });
    }
    const std::uint64_t begin = NowMs();
    // However slow the machine is, what is planted must have been met.
    const std::uint64_t calls = options.plant != PLANT_NONE ? CALLS_TO_FIND * options.applications : options.calls;
    const auto isOver = [&]
    {
        return g_isInterrupted != 0 || (calls != 0 ? shared.figures.calls.load() >= calls
                                                   : NowMs() >= begin + options.seconds * std::uint64_t{1000});
    };
    unsigned rounds = 0;
    do
    {
        shared.round = options.firstRound + rounds++;
        shared.mix = options.plant != PLANT_NONE ? QuietMix() : MakeMix(options.seed, shared.round, options.without);
        if (options.isVerbose)
        {
            std::fprintf(stderr, "round %u: %s\n", shared.round, ToString(shared.mix).c_str());
        }
        TCRound(shared, options.applications).Run(isOver);
        if (options.isVerbose)
        {
            std::fprintf(stderr, "round %u: %" PRIu64 " calls so far\n", shared.round, shared.figures.calls.load());
        }
    } while (!isOver() && options.plant == PLANT_NONE);
    Print(shared, rounds, NowMs() - begin);
    return Verdict(shared);
}

int RunRole(std::string_view role, SShared& shared, unsigned number)
{
    if (role == "daemon")
    {
        return RunDaemon(shared, number);
    }
    if (role == "stranger")
    {
        return RunStranger(shared);
    }
    return role == "application" ? RunApplication(shared, number) : RunExecuted(shared);
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
            g_sharedDescriptor = std::atoi(argv[2]);
            return RunRole(argv[1], TakeShared(g_sharedDescriptor), static_cast<unsigned>(std::atoi(argv[3])));
        }
        return Drive(ParseOptions(argc, argv));
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
