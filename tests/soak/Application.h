#pragma once

#include "soak/Daemon.h"
#include "soak/Payload.h"
#include "soak/Shared.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

// An application of the library, as the soak runs several of them: threads that call, one that subscribes and forks, the
// main thread with the main loop. Each is a process of its own.

namespace CIM::soak
{
/// Where threads stand still for a moment, so that what they use can be measured.
class TCGate
{
public:
    explicit TCGate(unsigned threads) : m_threads(threads) {}
    /// By each thread, between calls; blocks while the gate is closed.
    void Pass()
    {
        if (m_isClosed.load(std::memory_order_relaxed))
        {
            m_Wait();
        }
    }
    /// Returns when all threads stand; false when they do not within the time.
    bool Close(unsigned milliseconds);
    void Open();
    /// By a thread that has nothing more to do: it counts as standing.
    void Leave();

private:
    void m_Wait();

    unsigned m_threads;
    std::atomic<bool> m_isClosed{false};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned m_standing = 0;
};

/// What the threads of one application share.
struct SApplication
{
    SApplication(SShared& theShared, unsigned theSlot)
        : shared(theShared), slot(theShared.applications[theSlot]), gate(theShared.threads)
    {
    }
    SShared& shared;
    SApplicationSlot& slot;
    TCGate gate;
    std::atomic<bool> isStopping{false};
    std::atomic<std::uint64_t> calls{0};

    bool IsOver() const { return isStopping.load() || shared.isOver.load() || shared.isBusDead.load(); }
};

/// Calls and checks until the round is over.
/// \param[in] thread  numbered from 0
/// \param[in] number  behind which its calls are numbered
void MakeCalls(SApplication& application, unsigned thread, std::uint64_t seed, std::uint64_t number);

/// Asks the daemon for the stamps that it has given. \return nothing without an answer
std::optional<TFence> AskFence(SApplication& application, unsigned thread);

/// Lets the driver see that a thread is inside a call.
class TCWatchedCall
{
public:
    TCWatchedCall(SApplication& application, unsigned thread, std::uint64_t number);
    ~TCWatchedCall();
    /// Whether the driver has found that it hangs.
    bool IsKnownToHang() const { return m_thread.reported.load() == m_since / 1000; }
    TCWatchedCall(const TCWatchedCall&) = delete;
    TCWatchedCall& operator=(const TCWatchedCall&) = delete;

private:
    SApplicationSlot::SThread& m_thread;
    SShared& m_shared;
    const std::uint64_t m_since;
};

int RunApplication(SShared& shared, unsigned slot);
/// What the child of an application executes: one call, and the end.
int RunExecuted(SShared& shared);
} // namespace CIM::soak
