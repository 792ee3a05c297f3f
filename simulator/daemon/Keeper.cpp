#include "Keeper.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
constexpr int START_TIMEOUT_MS = 20'000;
constexpr int STOP_TIMEOUT_MS = 5'000;

void CloseAllBut(int a, int b)
{
    const auto closeRange = [](unsigned first, unsigned last)
    {
        if (first <= last)
        {
            syscall(SYS_close_range, first, last, 0);
        }
    };
    const auto low = static_cast<unsigned>(std::min(a, b));
    const auto high = static_cast<unsigned>(std::max(a, b));
    closeRange(3, low - 1);
    closeRange(low + 1, high - 1);
    closeRange(high + 1, UINT_MAX);
}

void Say(int fd, const std::string& line)
{
    [[maybe_unused]] const auto written = write(fd, (line + '\n').data(), line.size() + 1);
}

/// One line from a pipe; nothing when the other end closes or keeps silent for too long.
std::string ReadLine(int fd, int timeoutMs)
{
    std::string line;
    for (;;)
    {
        pollfd waited{fd, POLLIN, 0};
        const int ready = poll(&waited, 1, timeoutMs);
        char byte = 0;
        if (ready < 0 && errno == EINTR)
        {
            continue;
        }
        if (ready <= 0 || read(fd, &byte, 1) != 1)
        {
            return {};
        }
        if (byte == '\n')
        {
            return line;
        }
        line += byte;
    }
}

/// In a new child: dies with its parent, and hears signals again.
void BeginChild(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        _exit(1);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
}

int StatusOf(int waitStatus) { return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus); }

/// Asks a child to end, and makes it. SIGCHLD is blocked. \return its exit status
int End(pid_t child)
{
    int status = 0;
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    kill(child, SIGTERM);
    timespec limit{STOP_TIMEOUT_MS / 1000, 0};
    while (waitpid(child, &status, WNOHANG) == 0)
    {
        // The bus cannot be what ended: it is told later, and its own end only shortens this wait.
        if (sigtimedwait(&childSignal, nullptr, &limit) < 0 && errno == EAGAIN)
        {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
    }
    return StatusOf(status);
}

struct TSPlan
{
    std::string folder;
    std::string configuration;
    const std::function<int(const std::function<void()>&)>& simulator;
    int lifeline;
    int report;
};

pid_t StartBus(const TSPlan& plan, std::string& address)
{
    const std::string configFile = plan.folder + "/bus.conf";
    int answer[2];
    const int file = open(configFile.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || write(file, plan.configuration.data(), plan.configuration.size()) < 0 || close(file) != 0 ||
        pipe2(answer, O_CLOEXEC) != 0)
    {
        return -1;
    }
    const std::string configOption = "--config-file=" + configFile;
    const std::string addressOption = "--print-address=" + std::to_string(answer[1]);
    const pid_t keeper = getpid();
    const pid_t bus = fork();
    if (bus == 0)
    {
        BeginChild(keeper);
        fcntl(answer[1], F_SETFD, 0);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", configOption.c_str(),
               addressOption.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(answer[1]);
    address = ReadLine(answer[0], START_TIMEOUT_MS);
    close(answer[0]);
    return bus;
}

[[noreturn]] void Keep(const TSPlan& plan)
{
    CloseAllBut(plan.lifeline, plan.report); // a peer of one of the maker's descriptors must not wait for us
    prctl(PR_SET_NAME, "ci-sim-keeper");
    setpgid(0, 0); // an interrupt from the terminal is for the command; we follow when it has ended
    sigset_t blocked;
    sigfillset(&blocked);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);

    std::string address;
    const pid_t bus = StartBus(plan, address);
    pid_t simulator = -1;
    if (address.empty())
    {
        Say(plan.report, "error the private bus does not start: is dbus-daemon installed?");
    }
    else
    {
        const pid_t keeper = getpid();
        simulator = fork();
        if (simulator == 0)
        {
            BeginChild(keeper);
            prctl(PR_SET_NAME, "ci-daemon-sim");
            close(plan.lifeline);
            const int status = plan.simulator([&] { Say(plan.report, "ready"); });
            std::_Exit(status);
        }
        char byte = 0;
        while (read(plan.lifeline, &byte, 1) < 0 && errno == EINTR)
        {
        }
    }
    if (simulator > 0)
    {
        Say(plan.report, "status " + std::to_string(End(simulator)));
    }
    if (bus > 0)
    {
        kill(bus, SIGKILL);
        waitpid(bus, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(plan.folder, ignored);
    _exit(0);
}
} // namespace

bool TKeeper::Start(const std::string& folder, const std::string& configuration,
                    const std::function<int(const std::function<void()>& ready)>& simulator, std::string& error)
{
    int lifeline[2];
    int report[2];
    if (pipe2(lifeline, O_CLOEXEC) != 0 || pipe2(report, O_CLOEXEC) != 0)
    {
        error = std::string("no pipe: ") + std::strerror(errno);
        return false;
    }
    m_lifeline = lifeline[1];
    m_report = report[0];
    m_keeper = fork();
    if (m_keeper == 0)
    {
        Keep({folder, configuration, simulator, lifeline[0], report[1]});
    }
    close(lifeline[0]);
    close(report[1]);
    const std::string line = m_keeper < 0 ? std::string() : ReadLine(m_report, START_TIMEOUT_MS);
    if (line == "ready")
    {
        return true;
    }
    error = line.rfind("error ", 0) == 0 ? line.substr(6) : "the simulator does not start";
    return false;
}

int TKeeper::LetGo()
{
    if (m_lifeline < 0)
    {
        return 0;
    }
    close(m_lifeline);
    m_lifeline = -1;
    int status = 0;
    const std::string line = ReadLine(m_report, STOP_TIMEOUT_MS + 1'000);
    if (line.rfind("status ", 0) == 0)
    {
        status = std::atoi(line.c_str() + 7);
    }
    close(m_report);
    while (m_keeper > 0 && waitpid(m_keeper, nullptr, 0) < 0 && errno == EINTR)
    {
    }
    m_keeper = -1;
    return status;
}
} // namespace CIM::sim
