#include "soak/Shared.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>

#include <sys/mman.h>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
// Nothing constructs it: it begins as zeros.
static_assert(std::is_trivially_destructible_v<SShared> && std::atomic<std::uint64_t>::is_always_lock_free);

constexpr std::uint64_t SHOWN_FINDINGS = 4; // of a kind and a round

constexpr const char* FINDINGS[FINDING_COUNT] = {"wrong",   "untold",      "hung",   "lost",  "disorder",
                                                 "foreign", "descriptors", "memory", "death", "stuck"};

constexpr struct
{
    const char* name;
    EFinding finding;
} PLANTS[PLANT_COUNT] = {{"", FINDING_COUNT},         {"swap", FINDING_WRONG},  {"hang", FINDING_HUNG},
                         {"refuse", FINDING_UNTOLD},  {"lose", FINDING_LOST},   {"double", FINDING_DISORDER},
                         {"invent", FINDING_FOREIGN}, {"leak", FINDING_MEMORY}, {"descriptor", FINDING_DESCRIPTORS},
                         {"crash", FINDING_DEATH},    {"stuck", FINDING_STUCK}};
} // namespace

const char* NameOf(EFinding finding) { return FINDINGS[finding]; }

std::optional<EPlant> PlantOf(const std::string& name)
{
    for (unsigned plant = PLANT_NONE; plant < PLANT_COUNT; ++plant)
    {
        if (name == PLANTS[plant].name)
        {
            return static_cast<EPlant>(plant);
        }
    }
    return std::nullopt;
}

EFinding FindingOf(EPlant plant) { return PLANTS[plant].finding; }

void Raise(std::atomic<std::uint64_t>& most, std::uint64_t value)
{
    std::uint64_t known = most.load(std::memory_order_relaxed);
    while (known < value && !most.compare_exchange_weak(known, value))
    {
    }
}

SShared& TakeShared(int descriptor)
{
    void* const memory = mmap(nullptr, sizeof(SShared), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED)
    {
        throw std::runtime_error(std::string("no shared memory: ") + std::strerror(errno));
    }
    return *static_cast<SShared*>(memory);
}

SShared& MakeShared(int& descriptor)
{
    descriptor = memfd_create("soak", 0);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(SShared)) != 0)
    {
        throw std::runtime_error(std::string("no shared memory: ") + std::strerror(errno));
    }
    return TakeShared(descriptor);
}

void Find(SShared& shared, EFinding finding, const char* format, ...)
{
    shared.figures.findings[finding].fetch_add(1);
    if (shared.shown[finding].fetch_add(1) >= SHOWN_FINDINGS)
    {
        return;
    }
    char what[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(what, sizeof what, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "finding: %s: seed %llu, round %u, process %d: %s\n", NameOf(finding),
                 static_cast<unsigned long long>(shared.seed), shared.round, static_cast<int>(getpid()), what);
}

std::uint64_t NowMs()
{
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}
} // namespace CIM::soak
