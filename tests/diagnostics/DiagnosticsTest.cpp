#include <ciapi/CIAPITraceLock.h>
#include <ciapi/CIDiagnostics.h>

#include "support/InChild.h"
#include "support/LogCapture.h"
#include "utils/CIAPILog.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace CIM
{
namespace
{
using testing::ElementsAre;

std::vector<std::string> Shapes()
{
    std::vector<std::string> shapes;
    for (const SLogLine& line : TCLogCapture::Lines())
    {
        shapes.push_back(std::to_string(line.buffer) + "/" + std::to_string(line.priority) + " " + line.tag + " " +
                         line.text);
    }
    return shapes;
}

TEST(Diagnostics, TheProcessKeepsItsIdentity)
{
    EXPECT_EQ(GetPid(), getpid());
    EXPECT_EQ(GetProgName(), std::filesystem::read_symlink("/proc/self/exe").filename());
    EXPECT_EQ(GetProgName(), GetProgName());
    const long parent = GetPid();
    InChild(
        [parent]
        {
            EXPECT_NE(getpid(), parent);
            EXPECT_EQ(GetPid(), parent);
        });
}

TEST(Diagnostics, EachKindOfLineHasItsShapeAndPlace)
{
    const std::string pid = std::to_string(getpid());
    const std::string prog = GetProgName();
    TCLogCapture::Clear();
    CIM_LOG_INFO_AT("f", 7, "value %d", 1);
    CIM_LOG_ERROR_AT("f", 8, "plain");
    CIM_LOG_ASSERTION_AT("f", 9, "%s", "x");
    const std::string error =
        "CI_API DiagnosticsTest.cpp: f(8) > [CIM_MAJOR] pid[" + pid + "] prog[" + prog + "] plain";
    EXPECT_THAT(Shapes(), ElementsAre("0/4 CI_API DiagnosticsTest.cpp: f(7) > [" + pid + "][" + prog + "] value 1",
                                      "2/4 " + error, "2/3 " + error, "0/6 CI_API DiagnosticsTest.cpp: f(9) > x"));
}

TEST(TraceLock, LogsEntryAndExitWhileItHoldsTheMutex)
{
    const struct
    {
        int line;
        const char* first;
        const char* second;
        const char* trace;
    } cases[] = {
        {7, "f", "s", "s:f:7"},  {-1, "", "", "::-1"},      {7, "f", nullptr, ""},
        {7, nullptr, "s", "s:"}, {7, nullptr, nullptr, ""}, {2147483647, "%s", "%n", "%n:%s:2147483647"},
    };
    const std::string who = "[" + std::to_string(getpid()) + "][" + GetProgName() + "] ";
    for (const auto& row : cases)
    {
        const std::string in = "0/4 CI_API CIAPITraceLock.cpp: TCCIAPITraceLock(35) > " + who + row.trace + " IN";
        const std::string out = "0/4 CI_API CIAPITraceLock.cpp: ~TCCIAPITraceLock(43) > " + who + row.trace + " OUT";
        TCLogCapture::Clear();
        std::recursive_mutex mutex;
        const auto isFree = [&mutex]
        {
            bool free = false;
            std::thread(
                [&]
                {
                    free = mutex.try_lock();
                    if (free)
                    {
                        mutex.unlock();
                    }
                })
                .join();
            return free;
        };
        {
            const TCCIAPITraceLock outer(mutex, row.line, row.first, row.second);
            {
                const TCCIAPITraceLock inner(mutex, row.line, row.first, row.second);
                EXPECT_THAT(Shapes(), ElementsAre(in, in));
            }
            EXPECT_FALSE(isFree());
            EXPECT_THAT(Shapes(), ElementsAre(in, in, out));
        }
        EXPECT_TRUE(isFree());
        EXPECT_THAT(Shapes(), ElementsAre(in, in, out, out));
    }
}
} // namespace
} // namespace CIM
