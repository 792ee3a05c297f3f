#include "support/FakeClock.h"

#include <tvplatform/Sleep.h>

#include <mutex>
#include <utility>

namespace CIM
{
namespace
{
struct SClock
{
    std::mutex mutex;
    unsigned long sleeps = 0;
    unsigned long milliseconds = 0;
    std::function<void(unsigned int)> hook;
};

SClock& Clock()
{
    static SClock* const clock = new SClock; // threads may still sleep while the program ends
    return *clock;
}
} // namespace

unsigned long TCFakeClock::Sleeps()
{
    const std::lock_guard lock(Clock().mutex);
    return Clock().sleeps;
}

unsigned long TCFakeClock::Milliseconds()
{
    const std::lock_guard lock(Clock().mutex);
    return Clock().milliseconds;
}

void TCFakeClock::Clear()
{
    const std::lock_guard lock(Clock().mutex);
    Clock().sleeps = 0;
    Clock().milliseconds = 0;
    Clock().hook = nullptr;
}

void TCFakeClock::OnSleep(std::function<void(unsigned int milliseconds)> hook)
{
    const std::lock_guard lock(Clock().mutex);
    Clock().hook = std::move(hook);
}
} // namespace CIM

extern "C" void tvplatform_sleep_ms(unsigned int milliseconds)
{
    auto& clock = CIM::Clock();
    std::function<void(unsigned int)> hook;
    {
        const std::lock_guard lock(clock.mutex);
        ++clock.sleeps;
        clock.milliseconds += milliseconds;
        hook = clock.hook;
    }
    if (hook)
    {
        hook(milliseconds);
    }
}
