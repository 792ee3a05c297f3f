#include "soak/Application.h"

#include "soak/Signals.h"

#include "privatebus/Process.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>
#include <ciapi/IPCConnection.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <malloc.h>
#include <thread>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
// Until then the library's prepared messages and the caches of each thread still fill.
constexpr std::uint64_t WARM_UP_CALLS = 10'000;
constexpr std::uint64_t CALLS_BEFORE_EXIT = 300;
constexpr gulong SUBSCRIBER_PAUSE_US = 15'000;
constexpr std::uint64_t HEAP_ALLOWANCE_KIB = 1024; // prepared messages, caches of libdbus and of threads
constexpr std::uint64_t RESIDENT_ALLOWANCE_KIB = 16 * 1024;
constexpr int LARGE_BLOCK = 256 * 1024;
constexpr std::uint64_t CHILD_BOUND_MS = 10'000;
constexpr int WRONG_STATUS = 3;

/// What an application holds while none of its threads is inside a call.
struct SHolding
{
    std::uint64_t descriptors = 0;
    std::uint64_t heapKiB = 0;
    std::uint64_t residentKiB = 0;
};

/// \return nothing when a call lasts too long
std::optional<SHolding> Measure(SApplication& application)
{
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += application.shared.boundMs.load() / 1000;
    if (pthread_rwlock_clockwrlock(&application.calling, CLOCK_MONOTONIC, &until) != 0)
    {
        return std::nullopt;
    }
    SHolding holding;
    holding.descriptors = static_cast<std::uint64_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
    const struct mallinfo2 heap = mallinfo2();
    holding.heapKiB = (heap.uordblks + heap.hblkhd) / 1024;
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> holding.residentKiB;
    holding.residentKiB *= static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
    pthread_rwlock_unlock(&application.calling);
    return holding;
}

void CompareHoldings(SShared& shared, const SHolding& before, const SHolding& after)
{
    const auto more = [](std::uint64_t now, std::uint64_t then) { return now > then ? now - then : 0; };
    const std::uint64_t descriptors = more(after.descriptors, before.descriptors);
    const std::uint64_t heap = more(after.heapKiB, before.heapKiB);
    const std::uint64_t resident = more(after.residentKiB, before.residentKiB);
    shared.Raise(FIGURE_DESCRIPTORS, descriptors);
    shared.Raise(FIGURE_HEAP_KIB, heap);
    shared.Raise(FIGURE_RESIDENT_KIB, resident);
    if (descriptors != 0)
    {
        shared.Find(FINDING_DESCRIPTORS, "%llu more descriptors", static_cast<unsigned long long>(descriptors));
    }
    if (heap > HEAP_ALLOWANCE_KIB || resident > RESIDENT_ALLOWANCE_KIB)
    {
        shared.Find(FINDING_MEMORY, "%llu KiB more of the heap, %llu KiB more resident",
                    static_cast<unsigned long long>(heap), static_cast<unsigned long long>(resident));
    }
}

/// A child calls the library, as it must not, gets the null answer, and ends within a bound.
void ForkAndWait(SShared& shared, bool isOrderly)
{
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        DieWith(parent);
        std::vector<unsigned char> output;
        const int result = TCCIService::CIGeneralInstance()->EncryptUsingAesCbcWithSAK(1, {}, output);
        const bool isRight = result == 0 && output.empty() && LastCallOutcome().outcome == CALL_OUTCOME_NOT_SENT;
        isOrderly ? std::exit(isRight ? 0 : WRONG_STATUS) : _exit(isRight ? 0 : WRONG_STATUS);
    }
    if (child < 0)
    {
        return;
    }
    shared.Count(FIGURE_FORKS);
    const std::uint64_t deadline = NowMs() + CHILD_BOUND_MS;
    std::optional<int> status;
    while (!(status = privatebus::CheckForEnd(child)))
    {
        if (NowMs() > deadline)
        {
            shared.Find(FINDING_STUCK, "forked child %d does not end", static_cast<int>(child));
            privatebus::SendSignal(child, SIGKILL);
            privatebus::WaitForEnd(child);
            return;
        }
        g_usleep(1'000);
    }
    if (*status != 0)
    {
        shared.Find(*status == WRONG_STATUS ? FINDING_WRONG : FINDING_DEATH, "forked child ended with status %d",
                    *status);
    }
}

/// Subscribes and forks until the round is over, measures, and ends what it began.
void Subscribe(SApplication& application, std::uint64_t seed)
{
    SShared& shared = application.shared;
    TCRandom random(seed);
    TCSignals signals(application, shared.threads);
    application.slot.isConnected.store(true);
    const std::uint64_t forkEveryMs = shared.mix.forks != 0 ? 10'000 / shared.mix.forks : 0;
    std::uint64_t nextFork = NowMs() + forkEveryMs;
    std::optional<SHolding> before;
    while (!application.IsOver())
    {
        signals.Toggle(random.Below(SIGNAL_KEYS));
        if (forkEveryMs != 0 && NowMs() >= nextFork)
        {
            ForkAndWait(shared, random.OneIn(2));
            nextFork = NowMs() + forkEveryMs;
        }
        if (!before && application.calls.load() > WARM_UP_CALLS)
        {
            before = Measure(application);
        }
        g_usleep(SUBSCRIBER_PAUSE_US);
    }
    signals.End();
    if (before && !shared.isBusDead.load())
    {
        signals.ReadControl();
        if (const std::optional<SHolding> after = Measure(application))
        {
            CompareHoldings(shared, *before, *after);
        }
    }
}

/// The ways to end an application that are none of its calling threads'.
gboolean EndUnderLoad(void* application)
{
    auto& ended = *static_cast<SApplication*>(application);
    if (ended.IsToEnd(ENDING_EXIT))
    {
        std::exit(0);
    }
    if (ended.IsToEnd(ENDING_EXIT_NOW))
    {
        _exit(0);
    }
    return G_SOURCE_CONTINUE;
}
} // namespace

bool SApplication::IsToEnd(EEnding ending)
{
    return slot.ending.load(std::memory_order_relaxed) == ending && calls.load() >= CALLS_BEFORE_EXIT && !IsOver() &&
           !slot.isLeaving.exchange(true);
}

int RunApplication(SShared& shared, unsigned slot)
{
    auto& application = *new SApplication(shared, slot);
    mallopt(M_MMAP_THRESHOLD, LARGE_BLOCK); // given back at once: the resident size then shows what is held
    IPCConnection__Create(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(), false);
    TCCIService::CIGeneralInstance();
    // Numbers of calls differ between all applications of a round, and from one to its replacement.
    const std::uint64_t who = application.slot.generation.load() * LARGEST_APPLICATIONS + slot;
    const std::uint64_t seed = (shared.seed << 20) ^ (static_cast<std::uint64_t>(shared.round) << 40) ^ who;
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < shared.threads; ++thread)
    {
        threads.emplace_back(MakeCalls, std::ref(application), thread, seed * LARGEST_THREADS + thread,
                             (who * LARGEST_THREADS + thread) << 40);
    }
    g_timeout_add(10, EndUnderLoad, &application);
    threads.emplace_back(
        [&application, seed, loop]
        {
            Subscribe(application, seed);
            application.isStopping.store(true);
            g_main_loop_quit(loop);
        });
    g_main_loop_run(loop);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    if (shared.plant == PLANT_STUCK)
    {
        pause();
    }
    IPCConnection__Destroy();
    TCCIService::Destroy();
    shared.Count(FIGURE_ENDINGS); // the orderly one
    application.slot.isLeaving.store(true);
    return 0;
}
} // namespace CIM::soak
