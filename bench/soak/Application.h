#pragma once

#include "soak/Daemon.h"
#include "soak/Payload.h"
#include "soak/Shared.h"

#include <pthread.h>

// An application of the library, as the soak runs several of them: threads that call, one that subscribes and forks, the
// main thread with the main loop. Each is a process of its own.

namespace CIM::soak
{
/// What the threads of one application share. Never destroyed: they may be inside a call when the process exits.
struct SApplication
{
    SApplication(SShared& theShared, unsigned theSlot) : shared(theShared), slot(theShared.applications[theSlot]) {}

    SShared& shared;
    SApplicationSlot& slot;
    /// Held by each thread while it calls, and by who measures when none of them may. A plain std::shared_mutex would
    /// let the callers overtake for ever.
    pthread_rwlock_t calling = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
    std::atomic<bool> isStopping{false};
    std::atomic<std::uint64_t> calls{0};

    bool IsOver() const { return isStopping.load() || shared.isOver.load() || shared.isBusDead.load(); }
    /// Whether this place is where the application is to exit under load now; true for one caller.
    bool IsToEnd(EEnding ending);
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
    bool IsKnownToHang() const { return m_thread.reported.load() == m_since; }
    TCWatchedCall(const TCWatchedCall&) = delete;
    TCWatchedCall& operator=(const TCWatchedCall&) = delete;

private:
    SApplicationSlot::SThread& m_thread;
    SShared& m_shared;
    const std::uint64_t m_since = NowMs();
};

int RunApplication(SShared& shared, unsigned slot);
} // namespace CIM::soak
