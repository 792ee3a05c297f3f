#include "privatebus/Keeper.h"

#include "privatebus/Process.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::privatebus
{
namespace
{
constexpr int START_TIMEOUT_MS = 20'000;
constexpr int STOP_TIMEOUT_MS = 5'000;

/// What the keeper needs, made before the fork: behind it only plain system calls are safe, because the maker may have
/// threads.
struct TSPlan
{
    const TSKeeperOptions& options;
    std::string folder;
    std::string busWords; ///< the file for what dbus-daemon says
    std::string configurationOption;
    std::string addressOption;
    int lifeline;
    int address;           ///< dbus-daemon says here that it listens
    int report;            ///< the keeper and the companion
    std::vector<int> kept; ///< these, and what the companion gets; sorted
};

/// A bus for one purpose: nobody of the machine's services is on it, and 256 clients with two connections each fit.
std::string Configuration(const TCBusFolder& folder, const std::string& more)
{
    return "<busconfig><type>system</type><listen>" + folder.Address() +
           "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
           "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow receive_sender=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/></policy>\n"
           "<limit name=\"max_connections_per_user\">2048</limit>"
           "<limit name=\"max_completed_connections\">2048</limit>\n" +
           more + "</busconfig>\n";
}

/// Of the descriptors above standard error. \param[in] kept  sorted
void CloseAllBut(const std::vector<int>& kept)
{
    unsigned first = STDERR_FILENO + 1;
    for (const int fd : kept)
    {
        const auto last = static_cast<unsigned>(fd) - 1;
        if (first <= last)
        {
            syscall(SYS_close_range, first, last, 0);
        }
        first = static_cast<unsigned>(fd) + 1;
    }
    syscall(SYS_close_range, first, UINT_MAX, 0);
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

void Say(int fd, const char* line) { [[maybe_unused]] const auto written = write(fd, line, std::strlen(line)); }

void Kill(pid_t child)
{
    if (SendSignal(child, SIGKILL))
    {
        WaitForEnd(child);
    }
}

/// Asks a child to end, and makes it. SIGCHLD is blocked. \return its exit status
int End(pid_t child)
{
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    SendSignal(child, SIGTERM);
    const timespec limit{STOP_TIMEOUT_MS / 1000, 0};
    for (;;)
    {
        if (const std::optional<int> status = CheckForEnd(child))
        {
            return *status;
        }
        // The bus cannot be what ended: it is told later, and its own end only shortens this wait.
        if (sigtimedwait(&childSignal, nullptr, &limit) < 0 && errno == EAGAIN)
        {
            SendSignal(child, SIGKILL);
            return WaitForEnd(child);
        }
    }
}

pid_t StartBus(const TSPlan& plan)
{
    const pid_t keeper = getpid();
    const pid_t bus = fork();
    if (bus == 0)
    {
        BeginChild(keeper);
        close(plan.lifeline);
        // What it says is shown when it does not start: as root in a container it complains of limits that do not
        // matter here.
        const int words = open(plan.busWords.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (words >= 0)
        {
            dup2(words, STDERR_FILENO);
        }
        fcntl(plan.address, F_SETFD, 0);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", plan.configurationOption.c_str(),
               plan.addressOption.c_str(), static_cast<char*>(nullptr));
        const char* const error = std::strerror(errno);
        Say(STDERR_FILENO, "dbus-daemon: ");
        Say(STDERR_FILENO, error);
        _exit(127);
    }
    return bus;
}

pid_t StartCompanion(const TSPlan& plan)
{
    const pid_t keeper = getpid();
    const pid_t companion = fork();
    if (companion == 0)
    {
        BeginChild(keeper);
        close(plan.lifeline);
        bool isReady = false;
        int status = 1;
        try
        {
            status = plan.options.companion(
                [&]
                {
                    isReady = true;
                    Say(plan.report, "ready\n");
                });
        }
        catch (const std::exception& error) // it must not lead back into what the maker does
        {
            std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, error.what());
        }
        if (!isReady)
        {
            Say(plan.report, "ended\n"); // so that the maker does not wait for it
        }
        std::_Exit(status);
    }
    return companion;
}

[[noreturn]] void Keep(const TSPlan& plan)
{
    CloseAllBut(plan.kept); // a peer of one of the maker's descriptors must not wait for us
    prctl(PR_SET_NAME, plan.options.name);
    setpgid(0, 0); // an interrupt from the terminal is for the maker; we follow when it has ended
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);

    const pid_t bus = StartBus(plan);
    pid_t companion = -1;
    close(plan.address); // so that the maker hears when the bus does not start
    // A byte says that the bus listens, the end of the line that it is no longer wanted.
    char byte = 0;
    ssize_t got = 0;
    while ((got = read(plan.lifeline, &byte, 1)) > 0 || (got < 0 && errno == EINTR))
    {
        if (got > 0 && companion < 0)
        {
            companion = StartCompanion(plan);
            for (const int fd : plan.options.handed)
            {
                close(fd);
            }
        }
    }
    if (companion > 0)
    {
        char line[32];
        std::snprintf(line, sizeof line, "status %d\n", End(companion));
        Say(plan.report, line);
    }
    Kill(bus);
    TCBusFolder::Remove(plan.folder.c_str());
    _exit(0);
}

/// \return the keeper's process, 0 for an orphan; -1 when there is none
pid_t Fork(const TSPlan& plan)
{
    const pid_t child = fork();
    if (child != 0 && !plan.options.isOrphan)
    {
        return child;
    }
    if (child == 0)
    {
        const pid_t keeper = plan.options.isOrphan ? fork() : 0;
        if (keeper == 0)
        {
            Keep(plan);
        }
        _exit(keeper > 0 ? 0 : 1);
    }
    return WaitForEnd(child) == 0 ? 0 : -1;
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

std::string ContentOf(const std::string& path)
{
    std::ifstream file(path);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    while (!content.empty() && content.back() == '\n')
    {
        content.pop_back();
    }
    return content;
}

void CloseBoth(const int (&pipe)[2])
{
    for (const int fd : pipe)
    {
        if (fd >= 0)
        {
            close(fd);
        }
    }
}
} // namespace

void FillStandardDescriptors()
{
    int fd = 0;
    do
    {
        fd = open("/dev/null", O_RDWR); // stays, where one is missing
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0)
    {
        close(fd);
    }
}

void TCKeeper::Start(const TCBusFolder& folder, const TSKeeperOptions& options)
{
    LetGo();
    FillStandardDescriptors();
    mkdir(folder.Path().c_str(), 0700); // a keeper before may have taken it away
    const std::string configurationFile = folder.File("bus.conf");
    const auto fail = [&](const std::string& reason)
    {
        const std::string words = ContentOf(folder.File("bus.log"));
        LetGo();
        TCBusFolder::Remove(folder.Path().c_str());
        throw std::runtime_error("no private bus: " + reason + (words.empty() ? "" : ": " + words));
    };
    std::ofstream configuration(configurationFile);
    configuration << Configuration(folder, options.configuration);
    configuration.close();
    if (!configuration)
    {
        fail("cannot write " + configurationFile + ": " + std::strerror(errno));
    }
    int lifeline[2] = {-1, -1};
    int address[2] = {-1, -1};
    int report[2] = {-1, -1};
    if (pipe2(lifeline, O_CLOEXEC) != 0 || pipe2(address, O_CLOEXEC) != 0 || pipe2(report, O_CLOEXEC) != 0)
    {
        const int error = errno;
        CloseBoth(lifeline);
        CloseBoth(address);
        CloseBoth(report);
        fail(std::string("no pipe: ") + std::strerror(error));
    }
    std::vector<int> kept = {lifeline[0], address[1], report[1]};
    kept.insert(kept.end(), options.handed.begin(), options.handed.end());
    std::sort(kept.begin(), kept.end());
    const TSPlan plan{options,
                      folder.Path(),
                      folder.File("bus.log"),
                      "--config-file=" + configurationFile,
                      "--print-address=" + std::to_string(address[1]),
                      lifeline[0],
                      address[1],
                      report[1],
                      std::move(kept)};
    m_maker = getpid();
    m_keeper = Fork(plan);
    const int error = errno;
    close(lifeline[0]);
    close(address[1]);
    close(report[1]);
    m_lifeline = lifeline[1];
    m_report = report[0];
    const bool isUp = m_keeper >= 0 && !ReadLine(address[0], START_TIMEOUT_MS).empty();
    close(address[0]);
    if (m_keeper < 0)
    {
        fail(std::string("its keeper does not start: ") + std::strerror(error));
    }
    if (!isUp)
    {
        fail("dbus-daemon does not start: is it installed?");
    }
    const char listens = 'b';
    if (options.companion && (write(m_lifeline, &listens, 1) != 1 || ReadLine(m_report, START_TIMEOUT_MS) != "ready"))
    {
        LetGo();
        throw std::runtime_error("the simulator does not start");
    }
}

int TCKeeper::LetGo()
{
    if (m_lifeline < 0)
    {
        return 0;
    }
    close(m_lifeline);
    m_lifeline = -1;
    if (getpid() != m_maker) // a forked child's copy of this object has nothing to end
    {
        HoldForEver();
        return 0;
    }
    int status = 0;
    const std::string line = ReadLine(m_report, STOP_TIMEOUT_MS + 1'000);
    if (line.rfind("status ", 0) == 0)
    {
        status = std::atoi(line.c_str() + 7);
    }
    close(m_report);
    m_report = -1;
    WaitForEnd(m_keeper);
    m_keeper = -1;
    return status;
}

void TCKeeper::HoldForEver()
{
    close(m_report);
    m_report = m_lifeline = m_keeper = -1; // the other end of the line stays open
}
} // namespace CIM::privatebus
