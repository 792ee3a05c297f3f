#include "soak/Application.h"

#include "privatebus/Process.h"
#include "soak/Children.h"
#include "soak/Signals.h"

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>
#include <ciapi/IPCConnection.h>

#include <cstdlib>
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
constexpr gulong SUBSCRIBER_PAUSE_US = 15'000;
constexpr std::uint64_t HEAP_ALLOWANCE = 1024 * 1024; // prepared messages, caches of libdbus and of threads
constexpr int LARGE_BLOCK = 256 * 1024;
constexpr std::uint64_t RESIDENT_ALLOWANCE = 16 * 1024 * 1024;

/// What an application holds while none of its threads is inside a call.
struct SHolding
{
    std::uint64_t descriptors = 0;
    std::uint64_t heap = 0;
    std::uint64_t resident = 0;
};

SHolding Measure()
{
    SHolding holding;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        ++holding.descriptors;
    }
    const struct mallinfo2 heap = mallinfo2();
    holding.heap = heap.uordblks + heap.hblkhd;
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> holding.resident;
    holding.resident *= static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return holding;
}

void CompareHoldings(SShared& shared, const SHolding& before, const SHolding& after)
{
    const auto more = [](std::uint64_t now, std::uint64_t then) { return now > then ? now - then : 0; };
    Raise(shared.figures.descriptorDrift, more(after.descriptors, before.descriptors));
    Raise(shared.figures.memoryDriftKiB, more(after.heap, before.heap) / 1024);
    Raise(shared.figures.residentDriftKiB, more(after.resident, before.resident) / 1024);
    if (after.descriptors > before.descriptors)
    {
        Find(shared, FINDING_DESCRIPTORS, "%llu descriptors became %llu",
             static_cast<unsigned long long>(before.descriptors), static_cast<unsigned long long>(after.descriptors));
    }
    if (more(after.heap, before.heap) > HEAP_ALLOWANCE || more(after.resident, before.resident) > RESIDENT_ALLOWANCE)
    {
        Find(shared, FINDING_MEMORY, "%llu KiB of the heap became %llu, %llu KiB resident became %llu",
             static_cast<unsigned long long>(before.heap / 1024), static_cast<unsigned long long>(after.heap / 1024),
             static_cast<unsigned long long>(before.resident / 1024),
             static_cast<unsigned long long>(after.resident / 1024));
    }
}

/// Subscribes and forks until the round is over, measures, and ends what it began.
class TCSubscriber
{
public:
    TCSubscriber(SApplication& application, std::uint64_t seed)
        : m_application(application), m_thread(application.shared.threads), m_random(seed),
          m_signals(application, m_thread), m_children(application.shared)
    {
        application.slot.isConnected.store(true);
    }
    void Run();

private:
    std::optional<SHolding> m_MeasureStanding();

    SApplication& m_application;
    const unsigned m_thread;
    TCRandom m_random;
    TCSignals m_signals;
    TCChildren m_children;
};

std::optional<SHolding> TCSubscriber::m_MeasureStanding()
{
    m_signals.ReadControl();
    std::optional<SHolding> holding;
    if (m_application.gate.Close(m_application.shared.boundMs.load()))
    {
        holding = Measure();
    }
    m_application.gate.Open();
    return holding;
}

void TCSubscriber::Run()
{
    const std::uint64_t forkEveryMs = m_application.shared.mix.forks != 0 ? 10'000 / m_application.shared.mix.forks : 0;
    std::uint64_t nextFork = NowMs() + forkEveryMs;
    std::optional<SHolding> before;
    while (!m_application.IsOver())
    {
        m_signals.Toggle(m_random.Below(SIGNAL_KEYS));
        m_children.Check();
        if (forkEveryMs != 0 && NowMs() >= nextFork)
        {
            m_children.Fork(static_cast<EChild>(m_random.Below(CHILD_COUNT)));
            nextFork = NowMs() + forkEveryMs;
        }
        if (!before && m_application.calls.load() > WARM_UP_CALLS)
        {
            before = m_MeasureStanding();
        }
        g_usleep(SUBSCRIBER_PAUSE_US);
    }
    m_children.End();
    m_signals.End();
    if (before && !m_application.shared.isBusDead.load())
    {
        if (const std::optional<SHolding> after = m_MeasureStanding())
        {
            CompareHoldings(m_application.shared, *before, *after);
        }
    }
}

/// The ways to end an application that are none of its calling threads'.
gboolean EndUnderLoad(void* pointer)
{
    auto& application = *static_cast<SApplication*>(pointer);
    const unsigned ending = application.slot.ending.load();
    if (application.calls.load() < application.slot.endingAfter.load() || application.IsOver() ||
        (ending != ENDING_EXIT && ending != ENDING_EXIT_NOW) || application.slot.isLeaving.exchange(true))
    {
        return G_SOURCE_CONTINUE;
    }
    if (ending == ENDING_EXIT_NOW)
    {
        _exit(0);
    }
    std::exit(0);
}
} // namespace

bool TCGate::Close(unsigned milliseconds)
{
    m_isClosed.store(true);
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] { return m_standing >= m_threads; });
}

void TCGate::Open()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed.store(false);
    }
    m_changed.notify_all();
}

void TCGate::Leave()
{
    {
        const std::lock_guard lock(m_mutex);
        --m_threads;
    }
    m_changed.notify_all();
}

void TCGate::m_Wait()
{
    std::unique_lock lock(m_mutex);
    ++m_standing;
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return !m_isClosed.load(); });
    --m_standing;
}

int RunApplication(SShared& shared, unsigned slot)
{
    // Threads may be inside a call when the process exits: what they use is never destroyed.
    auto& application = *new SApplication(shared, slot);
    mallopt(M_MMAP_THRESHOLD, LARGE_BLOCK); // given back at once: the resident size then shows what is held
    IPCConnection__Create(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(), false);
    TCCIService::CIGeneralInstance();
    // Numbers of calls differ between all applications of a round, and from one to its replacement.
    const std::uint64_t who = application.slot.generation.load() * LARGEST_APPLICATIONS + slot;
    const std::uint64_t seed = (shared.seed << 20) ^ (static_cast<std::uint64_t>(shared.round) << 40) ^ who;
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    std::vector<std::thread> callers;
    for (unsigned thread = 0; thread < shared.threads; ++thread)
    {
        callers.emplace_back(MakeCalls, std::ref(application), thread, seed * LARGEST_THREADS + thread,
                             (who * LARGEST_THREADS + thread) << 40);
    }
    g_timeout_add(10, EndUnderLoad, &application);
    std::thread subscriber(
        [&application, seed, loop]
        {
            {
                TCSubscriber(application, seed).Run();
            }
            application.isStopping.store(true);
            g_main_loop_quit(loop);
        });
    g_main_loop_run(loop);
    subscriber.join();
    for (std::thread& caller : callers)
    {
        caller.join();
    }
    if (shared.plant == PLANT_STUCK)
    {
        pause();
    }
    IPCConnection__Destroy();
    TCCIService::Destroy();
    shared.figures.endings[ENDING_ORDERLY].fetch_add(1);
    application.slot.isLeaving.store(true);
    return 0;
}
} // namespace CIM::soak
