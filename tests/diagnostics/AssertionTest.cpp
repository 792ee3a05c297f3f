#include "support/FakeClock.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"
#include "utils/CIAPIDebug.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <execinfo.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM
{
namespace
{
using testing::StartsWith;

// Puts a file in the place of the console, for this process only. \return false where nobody may do so
bool ReplaceConsole(const std::string& file)
{
    return (unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(file.c_str(), "/dev/console", nullptr, MS_BIND, nullptr) == 0;
}

struct SEnd
{
    int status = 0;
    bool consoleReplaced = false;
    pid_t process = -1;
    std::vector<std::string> errors;
    std::vector<std::string> console;
};

template <class TBody>
SEnd EndOf(bool consoleOpens, TBody body)
{
    const TCTempFolder folder;
    std::ofstream(folder.File("console")) << "old\n";
    std::fflush(nullptr);
    GetPid(); // kept before the fork, so that the lines of the child carry a process id that is known here
    SEnd end;
    end.process = fork();
    if (end.process == 0)
    {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        dup2(open(folder.File("errors").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
        const bool replaced = ReplaceConsole(folder.File("console"));
        std::ofstream(folder.File("replaced")) << replaced;
        if (!consoleOpens)
        {
            void* warm[1]; // what a first trace of the stack loads needs descriptors, too
            backtrace(warm, 1);
            setrlimit(RLIMIT_NOFILE, &none);
        }
        TCLogCapture::EchoToStandardError(true);
        TCFakeClock::OnSleep([](unsigned int time) { std::fprintf(stderr, "sleep %u\n", time); });
        prctl(PR_SET_NAME, "asserting", 0, 0, 0);
        body();
        _exit(0);
    }
    if (end.process < 0)
    {
        throw std::runtime_error("no process");
    }
    waitpid(end.process, &end.status, 0);
    end.errors = LinesOf(folder.File("errors"));
    std::erase_if(end.errors, [](const std::string& line) { return line.starts_with("qemu: "); }); // its own word
    end.console = LinesOf(folder.File("console"));
    end.consoleReplaced = LinesOf(folder.File("replaced")) == std::vector<std::string>{"1"};
    return end;
}

void ExpectReport(const std::vector<std::string>& errors, std::size_t at, const std::string& what)
{
    const std::string identity = " pid[" + std::to_string(GetPid()) + "] prog[" + GetProgName() + "] ";
    ASSERT_GE(errors.size(), at + 6);
    for (const int priority : {4, 3})
    {
        EXPECT_EQ(errors[at], "log 2 " + std::to_string(priority) +
                                  " CI_API CIAPIDebug.cpp: _TCCIAPIAssert(49) > [CIM_MAJOR]" + identity + what);
        ++at;
    }
    const std::string assertion = "log 0 6 CI_API CIAPIDebug.cpp: _TCCIAPIAssert(52) > ";
    EXPECT_EQ(errors[at++], assertion + what);
    for (; at + 2 < errors.size(); ++at)
    {
        EXPECT_THAT(errors[at], StartsWith(assertion)) << "not a frame of the stack";
        EXPECT_GT(errors[at].size(), assertion.size());
    }
    EXPECT_EQ(errors[at++], "sleep 200");
    EXPECT_EQ(errors[at], "sleep 100");
}

TEST(Assertion, HoldingConditionsAreFree)
{
    TCLogCapture::Clear();
    int evaluated = 0;
    CIM_ASSERT(++evaluated == 1);
    CIM_ASSERT(++evaluated == 2, "message %d", 1);
    EXPECT_EQ(evaluated, 2);
    EXPECT_TRUE(TCLogCapture::Lines().empty());
}

TEST(Assertion, ReportsThenEndsTheProcessWithASegmentationFault)
{
    for (const bool consoleOpens : {true, false})
    {
        SCOPED_TRACE(consoleOpens ? "console" : "no console");
        const SEnd end = EndOf(consoleOpens, [] { _TCCIAPIAssert("a != b", "src/x.cpp", 4711); });
        ASSERT_TRUE(WIFSIGNALED(end.status)) << end.status;
        EXPECT_EQ(WTERMSIG(end.status), SIGSEGV);
        ExpectReport(end.errors, 0, "src/x.cpp::4711: a != b");
        if (!end.consoleReplaced)
        {
            std::puts("the console cannot be replaced here: its text was not checked");
            continue;
        }
        if (!consoleOpens)
        {
            EXPECT_THAT(end.console, testing::ElementsAre("old"));
            continue;
        }
        ASSERT_GT(end.console.size(), 5U);
        EXPECT_EQ(end.console[0],
                  "This sentence is redirected to a serial output.Assertion failed: src/x.cpp (4711) - a != b");
        EXPECT_EQ(end.console[1], "Debug information:");
        EXPECT_THAT(end.console[2], testing::MatchesRegex("Posix Thread ID: [0-9a-f]+"));
        EXPECT_EQ(end.console[3], "Linux Thread ID: " + std::to_string(end.process) + " (asserting)");
        EXPECT_EQ(end.console[4], "Callstack:");
        EXPECT_EQ(end.console.size() - 5, end.errors.size() - 5) << "as many frames as in the log";
    }
}

TEST(Assertion, TheMacroTellsWhatFailedWhereAndWhy)
{
    static constexpr int slot = 3;
    const int line = __LINE__ + 1;
    const SEnd end = EndOf(true, [] { CIM_ASSERT(slot != 3, "slot %d %s\n", slot, "is empty"); });
    EXPECT_EQ(WTERMSIG(end.status), SIGSEGV);
    ASSERT_FALSE(end.errors.empty());
    EXPECT_EQ(end.errors[0], "slot 3 is empty");
    ExpectReport(end.errors, 1, std::string(__FILE__) + "::" + std::to_string(line) + ": slot != 3");
}
} // namespace
} // namespace CIM
