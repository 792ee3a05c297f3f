#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace CIM
{
/// Runs a piece of a test in a process of its own, for what a process can do only once. Its failures fail the test.
template <class TBody>
void InChild(TBody body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0)
    {
        body();
        std::fflush(nullptr);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "failed in the child";
}
} // namespace CIM
