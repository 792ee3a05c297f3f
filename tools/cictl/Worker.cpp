#include "cictl/Worker.h"

#include "cictl/DaemonAccess.h"
#include "cictl/Host.h"
#include "cictl/Output.h"
#include "cictl/Script.h"
#include "json/Secret.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace CIM::cictl
{
namespace
{
constexpr int WORKER_SOCKET = 3;

ssize_t Receive(int socket, void* bytes, std::size_t size)
{
    ssize_t count = 0;
    do
    {
        count = recv(socket, bytes, size, 0);
    } while (count < 0 && errno == EINTR);
    return count;
}
} // namespace

TCWorker::~TCWorker()
{
    if (m_socket >= 0)
    {
        close(m_socket); // tells it to end
        m_Reap();
    }
}

void TCWorker::m_Start()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    {
        throw TCFailure(EXIT_REFUSED, std::string("no socket: ") + std::strerror(errno));
    }
    std::string words[] = {"cictl", "--serve-shell", HostName()};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    // The shell's own handlers do not reach it, but what is ignored would stay so.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    for (const int number : {SIGINT, SIGQUIT, SIGPIPE})
    {
        sigaddset(&defaults, number);
    }
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], WORKER_SOCKET);
    const int error = posix_spawn(&m_process, "/proc/self/exe", &actions, &attributes, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (error != 0)
    {
        close(ends[0]);
        m_process = -1;
        throw TCFailure(EXIT_REFUSED, std::string("no process for the verb: ") + std::strerror(error));
    }
    m_socket = ends[0];
}

void TCWorker::Begin(const std::string& line)
{
    // One that has been ended by a signal between two verbs is found here, or told by End.
    if (m_socket < 0)
    {
        m_Start();
    }
    if (line.size() > MOST_LINE_BYTES)
    {
        throw TCFailure(EXIT_USAGE, "the line is longer than " + std::to_string(MOST_LINE_BYTES) + " bytes");
    }
    if (send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) < 0)
    {
        close(m_socket);
        m_Reap();
        m_Start();
        if (send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) < 0)
        {
            throw TCFailure(EXIT_REFUSED, std::string("no process for the verb: ") + std::strerror(errno));
        }
    }
}

int TCWorker::End()
{
    int status = EXIT_REFUSED;
    const bool hasEnded = Receive(m_socket, &status, sizeof status) == sizeof status;
    if (hasEnded && status != EXIT_NO_BUS)
    {
        return status;
    }
    // Also where the bus was lost: only a new process has a library that connects again.
    close(m_socket);
    const int end = m_Reap();
    return hasEnded ? status : end;
}

int TCWorker::m_Reap()
{
    m_socket = -1;
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR)
    {
    }
    m_process = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int ServeShell(const std::string& host)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // a shell that is killed leaves no verb behind
    std::signal(SIGINT, SIG_IGN);     // between two verbs it is the shell's
    if (!host.empty())
    {
        UseHost(host);
    }
    const auto line = std::make_unique<char[]>(MOST_LINE_BYTES);
    ssize_t count = 0;
    while ((count = Receive(WORKER_SOCKET, line.get(), MOST_LINE_BYTES)) > 0)
    {
        std::string text(line.get(), static_cast<std::size_t>(count));
        const json::TCWipeAtEnd wipe(text);
        explicit_bzero(line.get(), static_cast<std::size_t>(count));
        std::vector<std::string> words = WordsOf(text);
        std::signal(SIGINT, SIG_DFL);
        const int status = RunWords(words);
        std::signal(SIGINT, SIG_IGN);
        if (send(WORKER_SOCKET, &status, sizeof status, MSG_NOSIGNAL) < 0)
        {
            break;
        }
    }
    return EXIT_ANSWERED;
}
} // namespace CIM::cictl
