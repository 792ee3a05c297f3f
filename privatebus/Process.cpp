#include "privatebus/Process.h"

#include <cerrno>
#include <csignal>

#include <sys/wait.h>

namespace CIM::privatebus
{
namespace
{
int StatusOf(int waitStatus) { return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus); }

/// \param[out] ended  the child; 0 when it runs
int Wait(pid_t child, int options, pid_t& ended)
{
    int status = 0;
    do
    {
        ended = child > 0 ? waitpid(child, &status, options) : -1;
    } while (ended < 0 && child > 0 && errno == EINTR);
    return ended > 0 ? StatusOf(status) : -1;
}
} // namespace

bool SendSignal(pid_t process, int number) { return process > 0 && kill(process, number) == 0; }

int WaitForEnd(pid_t child)
{
    pid_t ended = 0;
    return Wait(child, 0, ended);
}

std::optional<int> CheckForEnd(pid_t child)
{
    pid_t ended = 0;
    const int status = Wait(child, WNOHANG, ended);
    return ended == 0 ? std::nullopt : std::optional(status);
}
} // namespace CIM::privatebus
