#include "calls/Measuring.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <sys/resource.h>

extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);

namespace
{
std::atomic<unsigned long> g_allocations{0};
}

// Every allocation of the process passes here, those of shared libraries and operator new included.
extern "C" void* malloc(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* old, std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(old, size);
}

namespace CIM::bench
{
namespace
{
long Faults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}
} // namespace

double Seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

TSCost Measure(int count, const std::function<void()>& whole)
{
    const long faults = Faults();
    const unsigned long allocations = g_allocations.load();
    const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    const double wall = Seconds(CLOCK_MONOTONIC);
    whole();
    const double wallEnd = Seconds(CLOCK_MONOTONIC);
    const double cpuEnd = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    return {(wallEnd - wall) / count * 1e6, (cpuEnd - cpu) / count * 1e6,
            static_cast<double>(g_allocations.load() - allocations) / count,
            static_cast<double>(Faults() - faults) / count};
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}
} // namespace CIM::bench
