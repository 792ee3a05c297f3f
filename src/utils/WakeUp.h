#pragma once

#include <cerrno>
#include <chrono>
#include <ctime>
#include <semaphore.h>

namespace CIM
{
/// Wakes one thread, once for each post. The object may end as soon as the post has been waited for, before Post has
/// returned: what a condition variable does not grant.
class TCWakeUp
{
public:
    TCWakeUp() { sem_init(&m_semaphore, 0, 0); }
    ~TCWakeUp() { sem_destroy(&m_semaphore); }
    TCWakeUp(const TCWakeUp&) = delete;
    TCWakeUp& operator=(const TCWakeUp&) = delete;

    void Post() { sem_post(&m_semaphore); }

    void Wait()
    {
        while (sem_wait(&m_semaphore) != 0)
        {
        }
    }

    /// \return false: nobody has posted until then
    bool WaitUntil(std::chrono::steady_clock::time_point time)
    {
        const auto since = time.time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
        timespec until{};
        until.tv_sec = static_cast<time_t>(seconds.count());
        until.tv_nsec = static_cast<long>(std::chrono::nanoseconds(since - seconds).count());
        while (sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &until) != 0)
        {
            if (errno != EINTR)
            {
                return false;
            }
        }
        return true;
    }

private:
    sem_t m_semaphore;
};
} // namespace CIM
