#include "soak/Application.h"
#include "soak/Driver.h"

#include <ciapi/CICallOutcome.h>

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <getopt.h>
#include <random>
#include <sstream>
#include <string_view>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
constexpr const char* USAGE =
    "soak [--seconds N | --calls N] [--seed S] [--round R] [--applications A] [--threads T]\n"
    "     [--without exits,forks,strangers,stops,kills,lies] [--plant FAULT] [--verbose]\n"
    "\n"
    "Applications, a daemon and a bus of their own, with faults at random, in rounds of some seconds. Every answer "
    "and\n"
    "every signal is checked. Ends with one line of figures; the exit status is 1 when anything was wrong.\n"
    "\n"
    "  --seconds N, --calls N  when to end; otherwise after 60 seconds\n"
    "  --seed S                the faults to repeat; otherwise new ones\n"
    "  --round R               begins with that round\n"
    "  --plant FAULT           one round in which this goes wrong: the exit status is 0 when it, and nothing else, is\n"
    "                          found: swap, hang, refuse, lose, double, invent, leak, descriptor, crash, stuck\n";

struct SOptions
{
    unsigned seconds = 60;
    std::uint64_t calls = 0; ///< 0: the seconds count
    std::uint64_t seed = std::random_device{}() % 1'000'000;
    unsigned firstRound = 0;
    unsigned applications = 3;
    unsigned threads = 4;
    SWithout without;
    EPlant plant = PLANT_NONE;
    bool isVerbose = false;
};

[[noreturn]] void Refuse(const std::string& what)
{
    std::fprintf(stderr, "soak: %s\n", what.c_str());
    std::exit(2);
}

std::uint64_t NumberOf(const char* name, const char* text, std::uint64_t least, std::uint64_t most)
{
    char* end = nullptr;
    errno = 0;
    const std::uint64_t number = std::strtoull(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0' || errno != 0 || number < least || number > most)
    {
        Refuse(std::string("--") + name + " takes a number from " + std::to_string(least) + " to " +
               std::to_string(most) + ", not \"" + text + '"');
    }
    return number;
}

void LeaveOut(SWithout& without, const std::string& names)
{
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');)
    {
        const std::pair<const char*, bool*> known[] = {{"exits", &without.exits},         {"forks", &without.forks},
                                                       {"strangers", &without.strangers}, {"stops", &without.stops},
                                                       {"kills", &without.kills},         {"lies", &without.lies}};
        const auto found =
            std::find_if(std::begin(known), std::end(known), [&name](const auto& one) { return name == one.first; });
        if (found == std::end(known))
        {
            Refuse("there is no \"" + name + "\" to leave out");
        }
        *found->second = true;
    }
}

SOptions Parse(int argc, char** argv)
{
    const option names[] = {{"seconds", required_argument, nullptr, 's'},
                            {"calls", required_argument, nullptr, 'c'},
                            {"seed", required_argument, nullptr, 'S'},
                            {"round", required_argument, nullptr, 'r'},
                            {"applications", required_argument, nullptr, 'a'},
                            {"threads", required_argument, nullptr, 't'},
                            {"without", required_argument, nullptr, 'w'},
                            {"plant", required_argument, nullptr, 'p'},
                            {"verbose", no_argument, nullptr, 'v'},
                            {"help", no_argument, nullptr, 'h'},
                            {}};
    SOptions options;
    int place = 0;
    for (int letter = 0; (letter = getopt_long(argc, argv, "", names, &place)) != -1;)
    {
        const auto number = [&](std::uint64_t least, std::uint64_t most)
        { return NumberOf(names[place].name, optarg, least, most); };
        switch (letter)
        {
        case 's':
            options.seconds = static_cast<unsigned>(number(1, 1'000'000));
            break;
        case 'c':
            options.calls = number(1, UINT64_MAX);
            break;
        case 'S':
            options.seed = number(0, UINT32_MAX);
            break;
        case 'r':
            options.firstRound = static_cast<unsigned>(number(0, 1'000'000));
            break;
        case 'a':
            options.applications = static_cast<unsigned>(number(1, LARGEST_APPLICATIONS));
            break;
        case 't':
            options.threads = static_cast<unsigned>(number(1, LARGEST_THREADS));
            break;
        case 'w':
            LeaveOut(options.without, optarg);
            break;
        case 'p':
            options.plant = PlantOf(optarg).value_or(PLANT_NONE);
            if (options.plant == PLANT_NONE)
            {
                Refuse(std::string("there is no fault \"") + optarg + "\" to plant");
            }
            break;
        case 'v':
            options.isVerbose = true;
            break;
        case 'h':
            std::fputs(USAGE, stdout);
            std::exit(0);
        default:
            std::exit(2);
        }
    }
    if (optind < argc)
    {
        Refuse(std::string("a word without a meaning: ") + argv[optind]);
    }
    return options;
}

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
    const auto isOver = [&]
    {
        return g_isInterrupted != 0 || (options.calls != 0 ? shared.figures.calls.load() >= options.calls
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
        return Drive(Parse(argc, argv));
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
