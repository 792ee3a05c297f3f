#include "ProcessBus.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::test
{
namespace
{
constexpr int START_TIMEOUT_MS = 20'000;

/// What the keeper needs, made before the fork: behind it only plain system calls are safe, because the program that
/// is tested may have threads.
struct TSKeeperPlan
{
    std::string folder;
    std::string configOption;
    std::string addressOption;
    int lifeline;
    int report;
};

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

void RemoveFolder(const char* path)
{
    alignas(dirent64) char entries[4096];
    const int folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ssize_t size = 0;
    while (folder >= 0 && (size = getdents64(folder, entries, sizeof entries)) > 0)
    {
        for (ssize_t at = 0; at < size;)
        {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
            unlinkat(folder, entry->d_name, 0); // refuses the two folders that every folder holds
            at += entry->d_reclen;
        }
    }
    rmdir(path);
}

[[noreturn]] void Keep(const TSKeeperPlan& plan)
{
    CloseAllBut(plan.lifeline, plan.report); // a peer of one of the program's descriptors must not wait for us
    prctl(PR_SET_NAME, "ciapi-test-bus");
    setpgid(0, 0); // an interrupt from the terminal is for the tests; the bus follows when they have ended
    sigset_t none;
    sigemptyset(&none);
    const pid_t keeper = getpid();
    const pid_t bus = fork();
    if (bus == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != keeper)
        {
            _exit(1);
        }
        sigprocmask(SIG_SETMASK, &none, nullptr);
        close(plan.lifeline);
        fcntl(plan.report, F_SETFD, 0);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", plan.configOption.c_str(),
               plan.addressOption.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(plan.report);
    char byte = 0;
    while (read(plan.lifeline, &byte, 1) < 0 && errno == EINTR)
    {
    }
    if (bus > 0)
    {
        kill(bus, SIGKILL);
        waitpid(bus, nullptr, 0);
    }
    RemoveFolder(plan.folder.c_str());
    _exit(0);
}

/// Starts the keeper as nobody's child, so that a program that waits for its children does not wait for it.
bool StartKeeper(const TSKeeperPlan& plan)
{
    const pid_t starter = fork();
    if (starter == 0)
    {
        const pid_t keeper = fork();
        if (keeper == 0)
        {
            Keep(plan);
        }
        _exit(keeper > 0 ? 0 : 1);
    }
    int status = 1;
    while (starter > 0 && waitpid(starter, &status, 0) < 0 && errno == EINTR)
    {
    }
    return status == 0;
}

/// Whether a line comes before the other end closes or keeps silent for too long.
bool ReadsLine(int fd)
{
    char byte = 0;
    while (byte != '\n')
    {
        pollfd waited{fd, POLLIN, 0};
        const int ready = poll(&waited, 1, START_TIMEOUT_MS);
        if (ready < 0 && errno == EINTR)
        {
            continue;
        }
        if (ready <= 0 || read(fd, &byte, 1) != 1)
        {
            return false;
        }
    }
    return true;
}

std::string Configuration(const std::string& folder)
{
    return "<busconfig><type>system</type><listen>unix:path=" + folder +
           "/socket</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
           "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow receive_sender=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/></policy>\n"
           "<limit name=\"max_connections_per_user\">2048</limit>"
           "<limit name=\"max_completed_connections\">2048</limit></busconfig>\n";
}

std::runtime_error Failure(const std::string& what)
{
    return std::runtime_error("no private bus: " + what + ": " + std::strerror(errno));
}
} // namespace

TProcessBus& TProcessBus::Instance()
{
    static std::mutex mutex;
    static auto& buses = *new std::map<pid_t, std::unique_ptr<TProcessBus>>; // never deleted: they end with the process
    const std::lock_guard lock(mutex);
    std::unique_ptr<TProcessBus>& bus = buses[getpid()];
    if (bus == nullptr)
    {
        bus.reset(new TProcessBus);
    }
    return *bus;
}

TProcessBus::TProcessBus()
{
    std::string folder = (std::filesystem::temp_directory_path() / "ciapi-testing-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
    {
        throw Failure(folder);
    }
    m_folder = folder;
    const std::string configFile = m_folder + "/bus.conf";
    int lifeline[2] = {-1, -1};
    int report[2] = {-1, -1};
    std::ofstream config(configFile);
    config << Configuration(m_folder);
    config.close();
    bool isStarted = config && pipe2(lifeline, O_CLOEXEC) == 0 && pipe2(report, O_CLOEXEC) == 0 &&
                     StartKeeper({m_folder, "--config-file=" + configFile,
                                  "--print-address=" + std::to_string(report[1]), lifeline[0], report[1]});
    close(lifeline[0]);
    close(report[1]);
    if (!isStarted)
    {
        const auto failure = Failure("its keeper does not start");
        close(lifeline[1]);
        close(report[0]);
        RemoveFolder(m_folder.c_str());
        throw failure;
    }
    isStarted = ReadsLine(report[0]);
    close(report[0]);
    if (!isStarted)
    {
        close(lifeline[1]); // the keeper removes the folder
        throw std::runtime_error("no private bus: dbus-daemon does not start in " + m_folder + ": is it installed?");
    }
    // The other end of the lifeline stays open for as long as this process lives.
    WriteFeatureKeys({});
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_folder + "/socket").c_str(), 1);
    setenv("TVPLATFORM_SYSTEM_INFO", m_KeyPath().c_str(), 1);
    setenv("CIAPI_DAEMON_READY_FILE", MarkerPath().c_str(), 1);
}

void TProcessBus::WriteFeatureKeys(const std::map<std::string, std::string>& keys) const
{
    std::map<std::string, std::string> groups;
    for (const auto& [key, value] : keys)
    {
        const auto slash = key.rfind('/');
        if (slash == std::string::npos || (key + value).find('\n') != std::string::npos)
        {
            throw std::invalid_argument("a feature key is a whole name such as "
                                        "com.kelvora/featureconf/product.num_of_ci, not " +
                                        key);
        }
        groups[key.substr(0, slash)] += key.substr(slash + 1) + '=' + value + '\n';
    }
    const std::string fresh = m_KeyPath() + ".new";
    std::ofstream file(fresh);
    for (const auto& [group, lines] : groups)
    {
        file << '[' << group << "]\n" << lines;
    }
    file.close();
    if (!file || std::rename(fresh.c_str(), m_KeyPath().c_str()) != 0) // a reader sees the old or the new file
    {
        throw Failure(m_KeyPath());
    }
}
} // namespace CIM::test
