#include <ciapi-testing/Daemon.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::test
{
namespace
{
// The child comes first: what has used libdbus once cannot get another bus behind a fork.
TEST(TestDaemonLifeline, KilledProgramLeavesNothing)
{
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t child = fork();
    if (child == 0)
    {
        TDaemon daemon;
        const std::string marker = getenv("CIAPI_DAEMON_READY_FILE");
        const bool isWritten = write(pipes[1], marker.data(), marker.size()) > 0;
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
    ASSERT_GT(size, 0) << "the child did not start its daemon";
    const std::filesystem::path marker(std::string(buffer, static_cast<std::size_t>(size)));
    EXPECT_TRUE(std::filesystem::exists(marker));

    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    // The folder goes when the bus has gone.
    EXPECT_TRUE(RunUntil([&] { return !std::filesystem::exists(marker.parent_path()); }, std::chrono::seconds(20)));
}

TEST(TestDaemonLifeline, ProgramWithoutChildrenHasNone)
{
    TDaemon daemon;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}
} // namespace
} // namespace CIM::test
