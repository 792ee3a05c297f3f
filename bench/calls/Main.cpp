// The library's connection beside plain libdbus and other peers, against the same daemon. Prints Markdown tables; a
// ratio is to plain libdbus.

#include "calls/Daemon.h"
#include "calls/Tables.h"

#include "commandline/CommandLine.h"

#include <cstdio>
#include <dbus/dbus.h>
#include <exception>
#include <functional>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace CIM::bench
{
namespace
{
constexpr unsigned FEWEST_ROUNDS = 5;

struct TSTable
{
    const char* name;
    void (*print)(const TSOptions&);
};
constexpr TSTable TABLES[] = {
    {"calls", PrintCalls}, {"threads", PrintThreads}, {"signals", PrintSignals}, {"memory", PrintMemory}};

struct TSWishes
{
    bool isQuick = false;
    bool isFree = false;
    std::string only;
    unsigned rounds = 9;
};

/// Keeps this process, and those that it starts, on one core. \return which
int Pin()
{
    cpu_set_t cores;
    sched_getaffinity(0, sizeof cores, &cores);
    int core = CPU_SETSIZE - 1; // the last one: the first ones have more to do with interrupts
    while (core > 0 && !CPU_ISSET(core, &cores))
    {
        --core;
    }
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    if (sched_setaffinity(0, sizeof cores, &cores) != 0)
    {
        throw std::runtime_error("cannot stay on one core");
    }
    return core;
}

int Run(const TSWishes& wishes)
{
    std::vector<TSTable> tables;
    for (const TSTable& table : TABLES)
    {
        if (wishes.only.empty() || wishes.only == table.name)
        {
            tables.push_back(table);
        }
    }
    if (tables.empty() || wishes.rounds < FEWEST_ROUNDS)
    {
        throw TCUsageError("no such table, or fewer than " + std::to_string(FEWEST_ROUNDS) + " rounds");
    }
    const std::string place = wishes.isFree ? "placed by the scheduler" : "all on core " + std::to_string(Pin());
    int version[3];
    dbus_get_version(&version[0], &version[1], &version[2]);
    std::printf("%u rounds%s, %s; libdbus %d.%d.%d\n", wishes.rounds, wishes.isQuick ? " (quick)" : "", place.c_str(),
                version[0], version[1], version[2]);
    std::fflush(stdout);
    const TCBusAndDaemon daemon;
    for (const TSTable& table : tables)
    {
        table.print({wishes.rounds, wishes.isQuick});
    }
    return IsOutputWritten() ? 0 : 1;
}

std::function<int()> Prepare(TCCommandLine line)
{
    const auto wishes = std::make_shared<TSWishes>();
    line.Flag("--quick", wishes->isQuick, "a twentieth of the calls and signals in each round");
    line.Flag("--free", wishes->isFree, "let the scheduler place the processes, not all on one core");
    line.Option("--only", wishes->only, "one table: calls, threads, signals or memory");
    line.Option("--rounds", wishes->rounds, "of which the medians are taken, at least 5");
    return [wishes] { return Run(*wishes); };
}
} // namespace
} // namespace CIM::bench

int main(int argc, char** argv)
{
    try
    {
        return CIM::RunCommandLine("call_bench",
                                   "Calls and signals through the library beside plain libdbus, sd-bus and a bare "
                                   "socket, in turns, on a private bus. Prints Markdown tables; a ratio is to plain "
                                   "libdbus in the same round.",
                                   CIM::bench::Prepare, argc, argv);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "call_bench: %s\n", error.what());
        return 2;
    }
}
