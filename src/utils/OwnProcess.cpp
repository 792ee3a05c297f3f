#include "utils/OwnProcess.h"

#include <atomic>
#include <pthread.h>
#include <unistd.h>

namespace CIM
{
namespace
{
std::atomic<pid_t> g_process{0};

void Renew() { g_process.store(getpid(), std::memory_order_relaxed); }
} // namespace

pid_t CurrentProcess()
{
    const pid_t process = g_process.load(std::memory_order_relaxed);
    if (process != 0)
    {
        return process;
    }
    [[maybe_unused]] static const int registered = pthread_atfork(nullptr, nullptr, Renew);
    Renew();
    return g_process.load(std::memory_order_relaxed);
}
} // namespace CIM
