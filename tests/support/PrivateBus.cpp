#include "support/PrivateBus.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM
{
namespace
{
constexpr int START_TIMEOUT_MS = 20000;

// The texts that the keeper needs, made before the fork: behind it only plain system calls are safe.
struct SKeeperPlan
{
    std::string folder;
    std::string configFile;
    std::string socketFile;
    std::string configOption;
    std::string addressOption;
    int lifeline;
    int report;
};

void CloseAllBut(int a, int b)
{
    const auto closeRange = [](unsigned int first, unsigned int last)
    {
        if (first <= last)
        {
            syscall(SYS_close_range, first, last, 0);
        }
    };
    const unsigned int low = std::min(a, b);
    const unsigned int high = std::max(a, b);
    closeRange(3, low - 1);
    closeRange(low + 1, high - 1);
    closeRange(high + 1, UINT_MAX);
}

[[noreturn]] void Keep(const SKeeperPlan& plan)
{
    // The test's own descriptors must not live on here: a peer of one of them would not notice that the test closed it.
    CloseAllBut(plan.lifeline, plan.report);
    setpgid(0, 0); // an interrupt from the terminal is for the test; the bus follows when the test has ended
    const pid_t keeper = getpid();
    const pid_t daemon = fork();
    if (daemon == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != keeper)
        {
            _exit(1);
        }
        close(plan.lifeline);
        fcntl(plan.report, F_SETFD, 0);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", plan.configOption.c_str(),
               plan.addressOption.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(plan.report);
    char byte;
    while (read(plan.lifeline, &byte, 1) < 0 && errno == EINTR)
    {
    }
    if (daemon > 0)
    {
        kill(daemon, SIGKILL);
        waitpid(daemon, nullptr, 0);
    }
    unlink(plan.socketFile.c_str());
    unlink(plan.configFile.c_str());
    rmdir(plan.folder.c_str());
    _exit(0);
}

// One line from a pipe, or nothing when the other end closes or keeps silent for too long.
std::string ReadLine(int fd)
{
    std::string line;
    for (;;)
    {
        pollfd waited{fd, POLLIN, 0};
        const int ready = poll(&waited, 1, START_TIMEOUT_MS);
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
} // namespace

TPrivateBus::TPrivateBus(std::string extraConfig)
{
    std::string folder = (std::filesystem::temp_directory_path() / "ciapi-bus-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
    {
        throw std::runtime_error("no temporary folder for the private bus");
    }
    m_folder = folder;
    m_config = "<busconfig><type>system</type><listen>unix:path=" + m_folder + "/socket</listen>" +
               "<auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>" +
               "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/></policy>\n" +
               extraConfig + "</busconfig>\n";
    m_Start();
    m_variable = std::make_unique<TEnvironmentVariable>("DBUS_SYSTEM_BUS_ADDRESS", m_address);
}

TPrivateBus::~TPrivateBus() { Stop(); }

void TPrivateBus::Stop()
{
    if (m_keeper < 0)
    {
        return;
    }
    close(m_lifeline);
    while (waitpid(m_keeper, nullptr, 0) < 0 && errno == EINTR)
    {
    }
    m_keeper = -1;
}

void TPrivateBus::Restart()
{
    Stop();
    m_Start();
}

void TPrivateBus::m_Start()
{
    mkdir(m_folder.c_str(), 0700); // the keeper before took it away
    int lifeline[2];
    int report[2];
    if (pipe2(lifeline, O_CLOEXEC) != 0 || pipe2(report, O_CLOEXEC) != 0)
    {
        throw std::runtime_error("no pipe for the private bus");
    }
    const SKeeperPlan plan{m_folder,
                           m_folder + "/bus.conf",
                           m_folder + "/socket",
                           "--config-file=" + m_folder + "/bus.conf",
                           "--print-address=" + std::to_string(report[1]),
                           lifeline[0],
                           report[1]};
    std::ofstream(plan.configFile) << m_config;
    m_lifeline = lifeline[1];
    m_keeper = fork();
    if (m_keeper == 0)
    {
        Keep(plan);
    }
    close(lifeline[0]);
    close(report[1]);
    m_address = ReadLine(report[0]);
    close(report[0]);
    if (m_address.empty())
    {
        Stop();
        throw std::runtime_error("the private bus did not start");
    }
    // The guid behind the comma changes with every start; a client that waits for the bus knows only the path.
    m_address.resize(std::min(m_address.size(), m_address.find(',')));
}
} // namespace CIM
