#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

// The memory that the driver, the daemon and the applications share: what they are told, what they have counted. It
// outlives each of them, however it ends. Every member is lock-free, and zero is where each of them begins.

namespace CIM::soak
{
inline constexpr unsigned LARGEST_APPLICATIONS = 16;
inline constexpr unsigned LARGEST_THREADS = 16;

/// Within which a call that is not answered ends: by the bus in most rounds, by the library itself in the others.
inline constexpr unsigned REPLY_TIMEOUT_MS = 4'000;

/// What can be wrong.
enum EFinding : unsigned
{
    FINDING_WRONG,       ///< an answer that is not that of its question, or a request that arrived changed
    FINDING_UNTOLD,      ///< a call that failed, or came to something else, without anything to explain it
    FINDING_HUNG,        ///< a call beyond its bound
    FINDING_LOST,        ///< a signal that the bus delivered and the library did not
    FINDING_DISORDER,    ///< a signal that came twice or out of order
    FINDING_FOREIGN,     ///< a signal that the daemon did not send, or with another's user data
    FINDING_DESCRIPTORS, ///< more than before
    FINDING_MEMORY,      ///< more than before
    FINDING_DEATH,       ///< a process that ended in another way than it should
    FINDING_STUCK,       ///< a process that did not end
    FINDING_COUNT,
};
const char* NameOf(EFinding finding);

/// What is planted, once, to see that it is found.
enum EPlant : unsigned
{
    PLANT_NONE,
    PLANT_SWAP,       ///< the daemon gives the answer of another question
    PLANT_HANG,       ///< the daemon keeps silent, and nobody ends the call
    PLANT_REFUSE,     ///< the daemon refuses a call that asked for no fault
    PLANT_LOSE,       ///< a signal does not reach the application's count
    PLANT_DOUBLE,     ///< a signal reaches it twice
    PLANT_INVENT,     ///< a signal that was never sent
    PLANT_LEAK,       ///< memory
    PLANT_DESCRIPTOR, ///< descriptors
    PLANT_CRASH,      ///< an application ends by a signal
    PLANT_STUCK,      ///< an application does not end
    PLANT_COUNT,
};
std::optional<EPlant> PlantOf(const std::string& name);
EFinding FindingOf(EPlant plant);

/// How an application is to end.
enum EEnding : unsigned
{
    ENDING_ORDERLY,     ///< after everything is checked
    ENDING_EXIT,        ///< exit() on the main thread while all others call
    ENDING_EXIT_THREAD, ///< exit() on a calling thread
    ENDING_EXIT_NOW,    ///< _exit() while threads call
    ENDING_COUNT,
};

/// What is counted, or of which the largest is kept.
enum EFigure : unsigned
{
    FIGURE_CALLS,
    FIGURE_ONE_WAY, ///< of the calls
    FIGURE_SUCCEEDED,
    FIGURE_EXCUSED,   ///< failures that a process that was stopped or killed explains
    FIGURE_SENT,      ///< signals, by the daemon
    FIGURE_DELIVERED, ///< by the bus, to subscribed applications
    FIGURE_RECEIVED,  ///< from the library
    FIGURE_LOST,
    FIGURE_DOUBLED,
    FIGURE_DISORDERED,
    FIGURE_FORKS,
    FIGURE_ENDINGS,
    FIGURE_LONGEST_CALL_MS = FIGURE_ENDINGS + ENDING_COUNT,
    FIGURE_DESCRIPTORS, ///< more at the end of an application
    FIGURE_HEAP_KIB,
    FIGURE_RESIDENT_KIB,
    FIGURE_COUNT,
};
const char* NameOf(EFigure figure);

/// What a round does, all of it from its seed. Frequencies are per ten seconds, unless they say otherwise.
struct SMix
{
    unsigned milliseconds = 30'000; ///< how long it lasts, unless enough is done before
    unsigned largeCalls = 3;        ///< of 100'000
    unsigned lyingCalls = 0;        ///< of 100'000
    unsigned silentCalls = 0;       ///< of 100'000: each costs a thread a time-out
    unsigned daemonStops = 0;
    unsigned busStops = 0;
    unsigned applicationStops = 0;
    unsigned longStops = 0; ///< of 100: how many of the stops last longer than a reply is waited for
    unsigned daemonKills = 0;
    unsigned applicationKills = 0;
    unsigned exits = 0; ///< under load, over all applications
    unsigned forks = 0; ///< by each application
    unsigned slowCallsUs = 0;
    bool isBusKilled = false;  ///< at the end
    bool isBusPatient = false; ///< does not end calls itself: the library's own time-out does
    bool hasStranger = false;
};

/// What the driver watches of one application.
struct SApplicationSlot
{
    struct alignas(64) SThread
    {
        std::atomic<std::uint64_t> callSince; ///< of the steady clock, in milliseconds; 0 between calls
        std::atomic<std::uint64_t> number;
        std::atomic<std::uint64_t> reported; ///< a call that is known to hang
    };
    std::array<SThread, LARGEST_THREADS + 1> threads; ///< behind those that call: the one that subscribes
    std::atomic<unsigned> generation;                 ///< how many were here before
    std::atomic<unsigned> ending;                     ///< EEnding, asked for by the driver
    std::atomic<bool> isConnected;
    std::atomic<bool> isLeaving;
};

struct SShared
{
    using TCount = std::atomic<std::uint64_t>;

    // What the driver says before it starts anybody.
    std::uint64_t seed;
    unsigned round;
    unsigned threads;
    EPlant plant;
    SMix mix;

    std::atomic<bool> isOver;
    std::atomic<bool> isBusDead;
    std::atomic<unsigned> daemonsReady; ///< how many have become so; the last one's number
    /// Odd while calls may fail because of what the driver does; even otherwise.
    std::atomic<unsigned> trouble;
    /// Within which a call must return, times without the processor not counted.
    std::atomic<unsigned> boundMs;
    std::atomic<bool> isHangPlanted;
    std::array<SApplicationSlot, LARGEST_APPLICATIONS> applications;
    std::array<TCount, FIGURE_COUNT> figures;
    std::array<TCount, 16> failed; ///< calls by ECallOutcome, as told
    std::array<TCount, FINDING_COUNT> findings;
    std::array<std::atomic<unsigned>, FINDING_COUNT> shown; ///< in this round

    void Count(EFigure figure, std::uint64_t more = 1) { figures[figure].fetch_add(more, std::memory_order_relaxed); }
    /// Keeps the greater of the two.
    void Raise(EFigure figure, std::uint64_t value);
    /// Counts what is wrong and says so on standard error, with what is needed to repeat it.
    __attribute__((format(printf, 3, 4))) void Find(EFinding finding, const char* format, ...);
    /// Whether a call between the two looks at trouble may have failed for it.
    static bool IsExcused(unsigned before, unsigned after) { return before != after || before % 2 != 0; }
};

/// Makes the memory, or takes it from a descriptor that was inherited. It stays until the process ends.
/// \throws std::system_error when there is none
SShared& MakeShared();
SShared& TakeShared(int descriptor);

/// Starts this program anew as one of the soak's processes, which dies with the thread that started it.
/// \return 0 or less when it could not be started
pid_t StartSelf(const char* role, unsigned number = 0);
/// Behind a fork: lets this process die with the thread that made it.
void DieWith(pid_t parent);

std::uint64_t NowMs();
} // namespace CIM::soak
