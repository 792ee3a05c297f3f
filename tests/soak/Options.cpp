#include "soak/Options.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <sstream>
#include <string>

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
} // namespace

SOptions ParseOptions(int argc, char** argv)
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
} // namespace CIM::soak
