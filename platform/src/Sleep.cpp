#include <tvplatform/Sleep.h>

#include <cerrno>
#include <ctime>

void tvplatform_sleep_ms(unsigned int milliseconds)
{
    // Until a point in time, so that interruptions by signals do not add up.
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += (milliseconds % 1000) * 1000000L;
    if (end.tv_nsec >= 1000000000L)
    {
        end.tv_nsec -= 1000000000L;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR)
    {
    }
}
