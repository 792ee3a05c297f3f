#pragma once

#include "soak/Mix.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

// The memory that the driver, the daemon and the applications share: what they are told, what they have counted. It
// outlives each of them, however it ends. Every member is lock-free, and zero is where each of them begins.

namespace CIM::soak
{
inline constexpr unsigned LARGEST_APPLICATIONS = 16;
inline constexpr unsigned LARGEST_THREADS = 16;

/// The keys that applications subscribe to: one CI signal type of one pipeline each.
inline constexpr unsigned SIGNAL_KEYS = 12;
inline constexpr int FIRST_SIGNAL_TYPE = 17;

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
    PLANT_HANG,       ///< the daemon keeps silent, and the bus does not end the call
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

struct SFigures
{
    using TCount = std::atomic<std::uint64_t>;

    TCount calls;
    TCount succeeded;
    std::array<TCount, 16> failed; ///< as told, by ECallOutcome
    TCount excused;                ///< failures that a process that was stopped or killed explains
    TCount lies;                   ///< lies that were read exactly as they were told
    TCount oneWay;                 ///< of the calls
    TCount signalsSent;            ///< by the daemon
    TCount signalsDelivered;       ///< by the bus, to subscribed applications
    TCount signalsReceived;        ///< from the library
    TCount signalsLost;
    TCount signalsDoubled;
    TCount signalsDisordered;
    TCount forks;
    std::array<TCount, ENDING_COUNT> endings;
    TCount longestCallUs;
    TCount descriptorDrift; ///< the largest
    TCount memoryDriftKiB;  ///< the largest of what the heap has in use
    TCount residentDriftKiB;
    std::array<TCount, FINDING_COUNT> findings;
};

/// Keeps the greater of the two.
void Raise(std::atomic<std::uint64_t>& most, std::uint64_t value);

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
    std::atomic<unsigned> endingAfter;                ///< calls
    std::atomic<bool> isConnected;
    std::atomic<bool> isLeaving;
};

struct SShared
{
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
    std::atomic<unsigned> planted;
    std::array<SApplicationSlot, LARGEST_APPLICATIONS> applications;
    std::array<std::atomic<unsigned>, FINDING_COUNT> shown; ///< in this round
    SFigures figures;

    /// Whether a call between the two looks at trouble may have failed for it.
    static bool IsExcused(unsigned before, unsigned after) { return before != after || before % 2 != 0; }
};

/// Makes the memory, or takes it from a descriptor that was inherited. It stays until the process ends.
/// \throws std::runtime_error when there is none
SShared& MakeShared(int& descriptor);
SShared& TakeShared(int descriptor);

/// Counts what is wrong and says so on standard error, with what is needed to repeat it.
__attribute__((format(printf, 3, 4))) void Find(SShared& shared, EFinding finding, const char* format, ...);

std::uint64_t NowMs();
} // namespace CIM::soak
