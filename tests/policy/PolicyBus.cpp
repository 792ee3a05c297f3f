#include "policy/PolicyBus.h"

#include "bus/Handles.h"
#include "privatebus/Process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM
{
namespace
{
constexpr int FIRST_HANDED_OVER = 3; // where a program looks for sockets that are handed over

void Check(bool isDone, const char* what)
{
    if (!isDone)
    {
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    }
}

int BoundSocket(int type, const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Check(path.size() < sizeof address.sun_path, "a path too long for a socket");
    path.copy(address.sun_path, path.size());
    const int bound = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    Check(bound >= 0 && bind(bound, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, path.c_str());
    Check(chmod(path.c_str(), 0666) == 0, path.c_str());
    return bound;
}

/// dbus-broker-launch does not start without the system's journal. Here it gets one of its own, in a /run that nobody
/// else sees. \return where the journal's lines arrive
int MakeJournal()
{
    Check(unshare(CLONE_NEWNS) == 0, "no mount namespace");
    Check(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "no private mounts");
    Check(mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0, "no /run of its own");
    Check(mkdir("/run/systemd", 0755) == 0 && mkdir("/run/systemd/journal", 0755) == 0, "/run/systemd/journal");
    return BoundSocket(SOCK_DGRAM, "/run/systemd/journal/socket");
}

/// Becomes the program, which takes the listening socket over and dies with its parent.
[[noreturn]] void Become(EBusProgram program, int listener, const std::string& configuration, pid_t parent)
{
    const char* const daemon[] = {"dbus-daemon",         "--nofork", "--nopidfile", "--nosyslog", "--config-file",
                                  configuration.c_str(), nullptr};
    const char* const broker[] = {"dbus-broker-launch",  "--scope", "system", "--config-file",
                                  configuration.c_str(), nullptr};
    const char* const* const words = program == EBusProgram::DBUS_DAEMON ? daemon : broker;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent &&
        (listener == FIRST_HANDED_OVER ? fcntl(listener, F_SETFD, 0) == 0 : dup2(listener, FIRST_HANDED_OVER) >= 0))
    {
        setenv("LISTEN_FDS", "1", 1);
        setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
        execvp(words[0], const_cast<char* const*>(words));
    }
    std::cerr << words[0] << ": " << std::strerror(errno) << std::endl;
    _exit(127);
}

/// The keeper's companion. What it has to say stands in the folder's "policy-bus.log".
int Run(EBusProgram program, const privatebus::TCBusFolder& folder, const std::function<void()>& ready)
try
{
    const int words =
        open(folder.File("policy-bus.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    Check(words >= 0 && dup2(words, STDERR_FILENO) >= 0 && dup2(words, STDOUT_FILENO) >= 0, "policy-bus.log");
    const int listener = BoundSocket(SOCK_STREAM, folder.File("policy-socket"));
    Check(listen(listener, SOMAXCONN) == 0, "listen");
    // The launcher of dbus-broker is a client of its bus.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder.File("policy-socket")).c_str(), 1);
    const int journal = program == EBusProgram::DBUS_BROKER ? MakeJournal() : -1;
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);
    const int ending = signalfd(-1, &end, SFD_CLOEXEC);
    Check(ending >= 0, "signalfd");
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t self = getpid();
    const pid_t bus = fork();
    Check(bus >= 0, "fork");
    if (bus == 0)
    {
        sigprocmask(SIG_UNBLOCK, &end, nullptr);
        Become(program, listener, folder.File("policy-bus.conf"), self);
    }
    close(listener); // so that nobody waits for a bus that has ended
    ready();
    std::array<char, 0x10000> line;
    pollfd waited[] = {{ending, POLLIN, 0}, {journal, POLLIN, 0}};
    while (poll(waited, 2, -1) < 0 || waited[0].revents == 0)
    {
        // A journal that nobody reads stops the broker.
        if (recv(journal, line.data(), line.size(), MSG_DONTWAIT) < 0)
        {
            Check(errno == EINTR || errno == EAGAIN, "journal");
        }
    }
    privatebus::SendSignal(bus, SIGTERM);
    const int status = privatebus::WaitForEnd(bus);
    while (wait(nullptr) > 0) // for the broker, whose launcher does not wait
    {
    }
    return status;
}
catch (const std::exception& error)
{
    std::cerr << error.what() << std::endl;
    ready(); // whoever connects finds nobody, and reads why
    return 1;
}
} // namespace

TCPolicyBus::TCPolicyBus(EBusProgram program, const char* base, const std::string& policies)
    : m_folder(privatebus::TCBusFolder::Make("ciapi-policy"))
{
    std::ofstream(m_folder.File("policy-bus.conf"))
        << "<busconfig><type>system</type><listen>systemd:</listen><auth>EXTERNAL</auth><include>" << base
        << "</include>" << (policies.empty() ? "" : "<includedir>" + policies + "</includedir>") << "</busconfig>\n";
    privatebus::TSKeeperOptions options;
    options.name = "ciapi-policy";
    options.companion = [&](const std::function<void()>& ready) { return Run(program, m_folder, ready); };
    m_keeper.Start(m_folder, options);
    Check(chmod(m_folder.Path().c_str(), 0755) == 0, "chmod");
    TCDBusError error;
    if (!OpenBusAt(Address().c_str(), error))
    {
        std::ifstream words(m_folder.File("policy-bus.log"));
        throw std::runtime_error(std::string(error.Text()) + "\n" + std::string(std::istreambuf_iterator(words), {}));
    }
}

std::string WhyNotHere(EBusProgram program)
try
{
    if (geteuid() != 0)
    {
        return "needs root, to be several users of the bus";
    }
    if (program == EBusProgram::DBUS_BROKER) // dbus-daemon is there, or no test of anything works
    {
        const TCPolicyBus withoutPolicies(program, DEBIAN_BASE, "");
    }
    return {};
}
catch (const std::exception& error)
{
    return std::string("dbus-broker cannot be started here: ") + error.what();
}
} // namespace CIM
