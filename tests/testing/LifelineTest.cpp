#include <ciapi-testing/DaemonBeside.h>

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include "privatebus/Process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::test
{
namespace
{
/// Runs a program part that makes a daemon in a process of its own, and kills that once it says that it is ready.
/// \return what the part has said
std::string SaidBeforeKilled(const std::function<std::string()>& part)
{
    int pipes[2];
    if (pipe(pipes) != 0)
    {
        return {};
    }
    const pid_t child = fork();
    if (child == 0)
    {
        const std::string said = part();
        const bool isWritten = write(pipes[1], said.data(), said.size()) > 0;
        while (isWritten)
        {
            pause();
        }
        _exit(1);
    }
    close(pipes[1]);
    char buffer[512];
    const ssize_t size = read(pipes[0], buffer, sizeof buffer);
    close(pipes[0]);
    privatebus::SendSignal(child, SIGKILL);
    privatebus::WaitForEnd(child);
    return std::string(buffer, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
}

std::filesystem::path MarkerPath() { return getenv("CIAPI_DAEMON_READY_FILE"); }

/// Bus and folder go together: the folder is the last.
bool GoesSoon(const std::filesystem::path& path)
{
    return RunUntil([&] { return !std::filesystem::exists(path); }, std::chrono::seconds(20));
}

// The children come first: what has used libdbus once cannot get another bus behind a fork.
TEST(Lifeline, KilledProgramLeavesNothing)
{
    const std::filesystem::path marker = SaidBeforeKilled(
        []
        {
            static TCDaemon daemon;
            return MarkerPath().string();
        });
    ASSERT_FALSE(marker.empty());
    EXPECT_TRUE(GoesSoon(marker.parent_path()));
}

TEST(Lifeline, KilledProgramLeavesNoDaemonBeside)
{
    const std::string said = SaidBeforeKilled(
        []
        {
            static TCDaemonBeside daemon({}, CI_DAEMON_SIM);
            return std::to_string(daemon.ProcessId()) + ' ' + MarkerPath().string();
        });
    ASSERT_NE(said.find(' '), std::string::npos);
    EXPECT_TRUE(GoesSoon("/proc/" + said.substr(0, said.find(' ')) + "/exe"));
    EXPECT_TRUE(GoesSoon(std::filesystem::path(said.substr(said.find(' ') + 1)).parent_path()));
}

TEST(Lifeline, SetWithoutCINeedsAProcessOfItsOwn)
{
    for (const char* const slots : {"0", "2"})
    {
        EXPECT_EQ(SaidBeforeKilled(
                      [slots]
                      {
                          TSOptions options;
                          options.featureKeys = {{CI_FMS_NUM_OF_CI, slots}};
                          static TCDaemon daemon(options);
                          return std::string(TCCIService::IsCIOperable() ? "2" : "0");
                      }),
                  slots);
    }
}

TEST(Lifeline, ProgramHasNoChildrenThatItDidNotMake)
{
    TCDaemon daemon;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(DaemonBeside, DoesWhatItIsAskedFor)
{
    TSOptions options;
    options.set = R"({"slots": 1, "cams": [{"name": "plain", "readyMs": 10}]})";
    options.isManualClock = true;
    {
        TCDaemonBeside daemon(options, CI_DAEMON_SIM);
        daemon.Ask("InsertCam", {"0", "plain"});
        daemon.Ask("AdvanceClock", {"10"});
        std::map<unsigned char, ECamStatus> statuses;
        EXPECT_EQ(TCCIService::CIGeneralInstance()->GetCiSlotStatus(statuses, 0), 1);
        EXPECT_EQ(statuses, (std::map<unsigned char, ECamStatus>{{0, CAM_STATUS_READY}}));
        EXPECT_NE(daemon.Ask("Journal").find("GetCiSlotStatus"), std::string::npos);

        EXPECT_THROW(daemon.Ask("InsertCam", {"0", "plain"}), std::invalid_argument) << "it is in already";
        EXPECT_THROW(daemon.Ask("Unheard-of"), std::invalid_argument);
        EXPECT_THROW(TCDaemonBeside(options, CI_DAEMON_SIM), std::runtime_error) << "one at a time";
        daemon.Kill();
        EXPECT_EQ(TCCIService::CIGeneralInstance()->GetCiSlotStatus(statuses, 0), 0);
        EXPECT_THROW(daemon.Ask("Journal"), std::runtime_error);
    }
    EXPECT_THROW(TCDaemonBeside(options, "/nowhere/ci-daemon-sim"), std::runtime_error);
    EXPECT_EQ(TCDaemonBeside(options, CI_DAEMON_SIM).End(), 0);
}
} // namespace
} // namespace CIM::test
