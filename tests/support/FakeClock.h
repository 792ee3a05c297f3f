#pragma once

#include <functional>

namespace CIM
{
/// The program's way of sleeping: nothing waits, the sleeps are counted. Thread-safe.
class TCFakeClock
{
public:
    /// How often somebody slept since the last Clear.
    static unsigned long Sleeps();
    /// How long all those sleeps would have taken.
    static unsigned long Milliseconds();
    /// Forgets the sleeps and the hook.
    static void Clear();
    /// Called in each sleep, after it was counted, with its length, on the sleeping thread: lets a test change the
    /// world between two tries, or wait for what a try needs.
    static void OnSleep(std::function<void(unsigned int milliseconds)> hook);
};
} // namespace CIM
