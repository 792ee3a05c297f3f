#include "soak/Shared.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <system_error>
#include <type_traits>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
// Nothing constructs it: it begins as zeros.
static_assert(std::is_trivially_destructible_v<SShared> && SShared::TCount::is_always_lock_free);

constexpr unsigned SHOWN_FINDINGS = 4; // of a kind and a round

constexpr const char* FINDINGS[] = {"wrong",   "untold",      "hung",   "lost",  "disorder",
                                    "foreign", "descriptors", "memory", "death", "stuck"};
static_assert(std::size(FINDINGS) == FINDING_COUNT);

constexpr const char* FIGURES[] = {
    "calls", "one-way",    "succeeded",        "excused",       "signals-sent",     "delivered", "received",
    "lost",  "doubled",    "disordered",       "forks",         "ends-orderly",     "exit",      "exit-on-thread",
    "_exit", "longest-ms", "more-descriptors", "more-heap-KiB", "more-resident-KiB"};
static_assert(std::size(FIGURES) == FIGURE_COUNT);

constexpr struct
{
    const char* name;
    EFinding finding;
} PLANTS[] = {{"", FINDING_COUNT},         {"swap", FINDING_WRONG},  {"hang", FINDING_HUNG},
              {"refuse", FINDING_UNTOLD},  {"lose", FINDING_LOST},   {"double", FINDING_DISORDER},
              {"invent", FINDING_FOREIGN}, {"leak", FINDING_MEMORY}, {"descriptor", FINDING_DESCRIPTORS},
              {"crash", FINDING_DEATH},    {"stuck", FINDING_STUCK}};
static_assert(std::size(PLANTS) == PLANT_COUNT);

int g_descriptor = -1; // of the memory; whoever is started inherits it
} // namespace

const char* NameOf(EFinding finding) { return FINDINGS[finding]; }

const char* NameOf(EFigure figure) { return FIGURES[figure]; }

std::optional<EPlant> PlantOf(const std::string& name)
{
    const auto* const found =
        std::find_if(std::begin(PLANTS), std::end(PLANTS), [&name](const auto& plant) { return name == plant.name; });
    return found != std::end(PLANTS) ? std::optional(static_cast<EPlant>(found - PLANTS)) : std::nullopt;
}

EFinding FindingOf(EPlant plant) { return PLANTS[plant].finding; }

SShared& TakeShared(int descriptor)
{
    g_descriptor = descriptor;
    void* const memory = mmap(nullptr, sizeof(SShared), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED)
    {
        throw std::system_error(errno, std::generic_category(), "no shared memory");
    }
    return *static_cast<SShared*>(memory);
}

SShared& MakeShared()
{
    const int descriptor = memfd_create("soak", 0);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(SShared)) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "no shared memory");
    }
    return TakeShared(descriptor);
}

void SShared::Raise(EFigure figure, std::uint64_t value)
{
    std::uint64_t known = figures[figure].load(std::memory_order_relaxed);
    while (known < value && !figures[figure].compare_exchange_weak(known, value))
    {
    }
}

void SShared::Find(EFinding finding, const char* format, ...)
{
    findings[finding].fetch_add(1);
    if (shown[finding].fetch_add(1) >= SHOWN_FINDINGS)
    {
        return;
    }
    char what[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(what, sizeof what, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "finding: %s: seed %llu, round %u, process %d: %s\n", NameOf(finding),
                 static_cast<unsigned long long>(seed), round, static_cast<int>(getpid()), what);
}

void DieWith(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        _exit(0);
    }
}

pid_t StartSelf(const char* role, unsigned number)
{
    const std::string descriptor = std::to_string(g_descriptor);
    const std::string which = std::to_string(number);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        DieWith(parent);
        execl("/proc/self/exe", "soak", role, descriptor.c_str(), which.c_str(), nullptr);
        _exit(127);
    }
    return child;
}

std::uint64_t NowMs()
{
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}
} // namespace CIM::soak
