#include "SimulatorProcess.h"

#include "privatebus/Process.h"
#include "support/Shell.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
std::string FirstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

TEST(SimulatorRun, ExitStatusIsTheCommands)
{
    const std::pair<std::vector<std::string>, int> cases[] = {
        {{"sh", "-c", "exit 0"}, 0},
        {{"sh", "-c", "exit 37"}, 37},
        {{"sh", "-c", "kill -KILL $$"}, 137},
        {{"/no/such/program"}, 127},
        {{"/etc/passwd"}, 126},
        {{"sh", "-c",
          "test -e \"$CIAPI_DAEMON_READY_FILE\" && test -n \"$DBUS_SYSTEM_BUS_ADDRESS\" && "
          "grep -q '^product.num_of_ci=2' \"$TVPLATFORM_SYSTEM_INFO\" && grep -q '^tv_model_type=5' "
          "\"$TVPLATFORM_SYSTEM_INFO\" && exit 9"},
         9},
    };
    for (const auto& [command, status] : cases)
    {
        std::vector<std::string> arguments = {"run", "--key", "tv_model_type=5", "--"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        EXPECT_EQ(WaitForEnd(StartSimulator(arguments)), status) << command.back();
    }
    EXPECT_EQ(WaitForEnd(StartSimulator({"run"})), 2) << "no command";
    for (const char* const seed : {"-1", " -1", "18446744073709551616", "x"})
    {
        EXPECT_EQ(WaitForEnd(StartSimulator({"run", "--seed", seed, "--", "true"})), 2) << seed;
    }

    // A daemon that crashes beside a command that does not mind is told all the same.
    const std::string fault = std::string(SIMULATOR_PATH) + R"( ctl AddFault '{"kind": "crash"}')";
    const std::string crash = fault + " 2> /dev/null; ";
    EXPECT_EQ(WaitForEnd(StartSimulator({"run", "--", "sh", "-c", crash + "exit 0"})), 70);
    EXPECT_EQ(WaitForEnd(StartSimulator({"run", "--", "sh", "-c", crash + "exit 5"})), 5);
    const std::string said = Shell(std::string(SIMULATOR_PATH) + " run -- " + fault).text;
    EXPECT_NE(said.find("ci-daemon-sim: the simulator ends with a fault: crash\n"), said.npos) << said;

    // A folder's name may hold what an address of D-Bus escapes.
    TCTempFolder folder;
    const std::string temporary = folder.File("with space & more");
    ASSERT_TRUE(std::filesystem::create_directory(temporary));
    const TCEnvironmentVariable variable("TMPDIR", temporary);
    EXPECT_EQ(WaitForEnd(StartSimulator({"run", "--", SIMULATOR_PATH, "ctl", "ListCams"})), 0);
    EXPECT_TRUE(std::filesystem::remove(temporary)) << "not empty";
}

// The kernel tells a hangup only to who leads the session: what "ssh -t" or "exec" leads to.
TEST(SimulatorRun, ItsTerminalEndsIt)
{
    int terminal = -1;
    const pid_t leader = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(leader, 0);
    if (leader == 0)
    {
        execl(SIMULATOR_PATH, SIMULATOR_PATH, "run", "--", "sh", "-c", "echo begun; exec sleep 1000", nullptr);
        _exit(127);
    }
    std::string said;
    pollfd waited{terminal, POLLIN, 0};
    char byte = 0;
    while (said.find("begun") == said.npos && poll(&waited, 1, 10'000) == 1 && read(terminal, &byte, 1) == 1)
    {
        said += byte;
    }
    EXPECT_NE(said.find("begun"), said.npos) << said;
    close(terminal);
    const int status = WaitForEnd(leader);
    EXPECT_EQ(status, 128 + SIGHUP);
    const bool isRunning = status < 0; // else its number may be somebody else's
    if (isRunning && privatebus::SendSignal(leader, SIGKILL))
    {
        privatebus::WaitForEnd(leader);
    }
}

TEST(SimulatorRun, WhatIsMissingAroundItIsNoHarm)
{
    TCTempFolder folder;
    const TCEnvironmentVariable variable("TMPDIR", folder.File("tmp"));
    ASSERT_TRUE(std::filesystem::create_directory(folder.File("tmp")));
    const std::string run = std::string(SIMULATOR_PATH) + " run -- ";
    for (const char* const closed : {"<&-", ">&-", "2>&-", "<&- >&-", "<&- >&- 2>&-"})
    {
        const std::string command = run + SIMULATOR_PATH + " ctl ListCams " + closed;
        EXPECT_EQ(std::system(command.c_str()), 0) << closed;
    }
    // A full disk: no byte can be written.
    const TSOutput full = Shell("trap '' XFSZ; ulimit -f 0; " + run + "true 2>&1 | cat");
    EXPECT_NE(full.text.find("cannot"), full.text.npos) << full.text;
    EXPECT_TRUE(Eventually([&] { return std::filesystem::is_empty(folder.File("tmp")); }));
}

// The result of a fork that failed must reach nobody. Signal 0 would only ask.
TEST(Process, WhatMeansSeveralIsRefused)
{
    for (const pid_t several : {0, -1, -getpgrp()})
    {
        EXPECT_FALSE(privatebus::SendSignal(several, 0)) << several;
        EXPECT_EQ(privatebus::WaitForEnd(several), -1) << several;
        EXPECT_EQ(privatebus::CheckForEnd(several), std::optional(-1)) << several;
    }
    EXPECT_TRUE(privatebus::SendSignal(getpid(), 0));
}

TEST(SimulatorRun, NothingRemains)
{
    for (const int number : {SIGKILL, SIGTERM})
    {
        TCTempFolder folder;
        // Two at once, each with a bus of its own.
        std::vector<pid_t> runners;
        std::vector<std::string> reports;
        for (const char* const name : {"first", "second"})
        {
            reports.push_back(folder.File(name));
            runners.push_back(StartSimulator({"run", "--", "sh", "-c",
                                              "echo \"$CIAPI_DAEMON_READY_FILE\" > " + reports.back() +
                                                  ".new; echo $$ > " + reports.back() + ".pid; mv " + reports.back() +
                                                  ".new " + reports.back() + "; exec sleep 1000"}));
        }
        std::vector<std::filesystem::path> sandboxes;
        for (const std::string& report : reports)
        {
            ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(report); }));
            sandboxes.push_back(std::filesystem::path(FirstLine(report)).parent_path());
            EXPECT_TRUE(std::filesystem::exists(sandboxes.back() / "socket"));
        }
        EXPECT_NE(sandboxes[0], sandboxes[1]);
        EXPECT_TRUE(privatebus::SendSignal(runners[0], number));
        EXPECT_EQ(WaitForEnd(runners[0]), 128 + number);
        EXPECT_TRUE(Eventually([&] { return !std::filesystem::exists(sandboxes[0]); })) << "signal " << number;
        EXPECT_TRUE(Eventually([&] { return !privatebus::SendSignal(std::stoi(FirstLine(reports[0] + ".pid")), 0); }))
            << "the command lives on after signal " << number;
        EXPECT_TRUE(std::filesystem::exists(sandboxes[1] / "ready")) << "the other one lives on";
        EXPECT_TRUE(privatebus::SendSignal(runners[1], SIGKILL));
        EXPECT_EQ(WaitForEnd(runners[1]), 128 + SIGKILL);
        EXPECT_TRUE(Eventually([&] { return !std::filesystem::exists(sandboxes[1]); }));
    }
}

/// The socket of a service manager, by a path or, as "@NAME", by a name that is no file.
class TCServiceManager
{
public:
    explicit TCServiceManager(const std::string& place) : m_variable("NOTIFY_SOCKET", place)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        place.copy(address.sun_path, sizeof address.sun_path - 1);
        if (place[0] == '@')
        {
            address.sun_path[0] = '\0';
        }
        const timeval limit{10, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + place.size());
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), length) != 0)
        {
            throw std::runtime_error("no socket " + place);
        }
    }
    ~TCServiceManager() { close(m_socket); }

    /// What comes within ten seconds.
    std::string Hear() const
    {
        char text[64];
        const ssize_t count = recv(m_socket, text, sizeof text, 0);
        return count < 0 ? "nothing" : std::string(text, static_cast<std::size_t>(count));
    }

private:
    int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    TCEnvironmentVariable m_variable;
};

TEST(SimulatorServe, TellsTheServiceManagerOnceAllNamesAreOwned)
{
    TCTempFolder folder;
    for (const std::string& place : {folder.File("notify"), "@ciapi-test-" + std::to_string(getpid())})
    {
        const TCPrivateBus bus;
        const TCTempMarker marker;
        const TCServiceManager manager(place);
        const pid_t simulator = StartSimulator({"serve", "--names-after", "200", "--names-step", "20"});
        EXPECT_EQ(manager.Hear(), "READY=1") << place;
        TCRawClient client;
        for (const char* const name :
             {"ICIGeneral", "ICIAppMMI", "ICIOperatorProfile", "IPvrCip", "ICIDebug", "ICIAuxiliaryFileSystem",
              "ICISignalSubscriber", "ICICAMPlayer", "ICISampleDecryption"})
        {
            EXPECT_TRUE(client.OwnsName(std::string("com.kelvora.ciapi.") + name)) << name;
        }
        EXPECT_TRUE(privatebus::SendSignal(simulator, SIGTERM));
        EXPECT_EQ(WaitForEnd(simulator), 0);
    }
}
} // namespace
} // namespace CIM::sim
