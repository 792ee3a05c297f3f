#include <tvplatform/ResourceManager.h>

#include "privatebus/Process.h"
#include "support/InChild.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>

namespace
{
using std::chrono::steady_clock;

struct SSeen
{
    int policy;
    int niceValue;

    friend bool operator==(const SSeen&, const SSeen&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const SSeen& seen)
    {
        return stream << "policy " << seen.policy << " nice " << seen.niceValue;
    }
};

/// A process to lend to, with two threads.
class TCBorrowerProcess
{
public:
    TCBorrowerProcess()
    {
        static int count = 0;
        m_name = "b" + std::to_string(getpid()) + "-" + std::to_string(++count);
        int input[2];
        int output[2];
        char byte = 0;
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
        {
            throw std::runtime_error("no pipe");
        }
        const std::string command = "exec " BORROWER " " + m_name;
        m_process = fork();
        if (m_process == 0)
        {
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        close(input[0]);
        close(output[1]);
        m_input = input[1];
        const bool started = read(output[0], &byte, 1) == 1;
        close(output[0]);
        if (!started)
        {
            throw std::runtime_error("the borrower did not start");
        }
    }
    ~TCBorrowerProcess() { End(); }

    void End()
    {
        if (m_process > 0)
        {
            close(m_input);
            CIM::privatebus::WaitForEnd(m_process);
            m_process = -1;
        }
    }

    const char* Name() const { return m_name.c_str(); }

    /// How each of its threads is scheduled.
    std::map<pid_t, SSeen> Threads() const
    {
        std::map<pid_t, SSeen> threads;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/task"))
        {
            const pid_t thread = std::stoi(entry.path().filename().string());
            threads[thread] = {sched_getscheduler(thread), getpriority(PRIO_PROCESS, thread)};
        }
        return threads;
    }

    void Expect(const SSeen& expected) const
    {
        const auto threads = Threads();
        EXPECT_GE(threads.size(), 2U); // a sanitizer may have one of its own
        for (const auto& [thread, seen] : threads)
        {
            EXPECT_EQ(seen, expected) << (thread == m_process ? "first" : "second") << " thread";
        }
    }

private:
    std::string m_name;
    pid_t m_process = -1;
    int m_input = -1;
};

void SetOwn(const SSeen& scheduling)
{
    const sched_param parameters{};
    ASSERT_EQ(sched_setscheduler(0, scheduling.policy, &parameters), 0);
    ASSERT_EQ(setpriority(PRIO_PROCESS, gettid(), scheduling.niceValue), 0);
}

void OnThread(const std::function<void()>& body) { std::thread(body).join(); }

bool MayTakeBackNiceValues()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    syscall(SYS_capget, &header, data);
    return (data[CAP_TO_INDEX(CAP_SYS_NICE)].effective & CAP_TO_MASK(CAP_SYS_NICE)) != 0;
}

// A batch thread may be lent by anybody; another nice value only by those who may also take it back.
SSeen Own() { return {SCHED_OTHER, getpriority(PRIO_PROCESS, gettid())}; }

SSeen Lent() { return {SCHED_BATCH, Own().niceValue + (MayTakeBackNiceValues() ? 3 : 0)}; }

TEST(ResourceManager, LoansOverlapAndEveryThreadGetsItsOwnBack)
{
    const TCBorrowerProcess borrower;
    const SSeen own = Own();
    const SSeen lent = Lent();
    OnThread(
        [&]
        {
            SetOwn(lent);
            const pid_t first = gettid();
            ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 60000), 0);
            borrower.Expect(lent);
            OnThread(
                [&]
                {
                    SetOwn({SCHED_BATCH, lent.niceValue});
                    const sched_param parameters{};
                    ASSERT_EQ(sched_setscheduler(0, SCHED_OTHER, &parameters), 0);
                    ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 60000), 0);
                    borrower.Expect({SCHED_OTHER, lent.niceValue});
                    ASSERT_EQ(resource_set_cpu_inheritance(first, borrower.Name(), 60000), 0);
                    borrower.Expect(lent);
                    EXPECT_EQ(resource_clear_cpu_inheritance(first, borrower.Name()), 0);
                    borrower.Expect({SCHED_OTHER, lent.niceValue});
                    EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0);
                });
            borrower.Expect(lent);
            EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0);
            borrower.Expect(own);
            EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0) << "nothing is lent any more";
        });
}

TEST(ResourceManager, ALoanEndsByItself)
{
    const TCBorrowerProcess borrower;
    const SSeen own = Own();
    OnThread(
        [&]
        {
            SetOwn(Lent());
            const auto start = steady_clock::now();
            ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 60000), 0);
            ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 100), 0);
            EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0);
            EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0);
            ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 100), 0);
            while (borrower.Threads().begin()->second != own)
            {
                ASSERT_LT(steady_clock::now() - start, std::chrono::seconds(20)) << "the loan does not end";
                std::this_thread::yield();
            }
            EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(100));
            EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), 0);
            borrower.Expect(own);
        });
}

TEST(ResourceManager, ReportsWhatIsMissing)
{
    TCBorrowerProcess borrower;
    EXPECT_EQ(resource_set_cpu_inheritance(0, "no-such-program", 1999), -ENOENT);
    EXPECT_EQ(resource_clear_cpu_inheritance(0, "no-such-program"), -ENOENT);
    EXPECT_EQ(resource_set_cpu_inheritance(0x7fffffff, borrower.Name(), 1999), -ESRCH);
    EXPECT_EQ(resource_set_cpu_inheritance(-1, borrower.Name(), 1999), -EINVAL);
    EXPECT_EQ(resource_set_cpu_inheritance(0, nullptr, 1999), -EINVAL);
    EXPECT_EQ(resource_set_cpu_inheritance(0, "", 1999), -EINVAL);
    EXPECT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 0), -EINVAL);
    EXPECT_EQ(resource_clear_cpu_inheritance(0, nullptr), -EINVAL);

    ASSERT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 60000), 0);
    borrower.End();
    EXPECT_EQ(resource_clear_cpu_inheritance(0, borrower.Name()), -ENOENT);
    EXPECT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 1999), -ENOENT);
}

TEST(ResourceManager, RefusesALoanThatCouldNotBeTakenBack)
{
    const TCBorrowerProcess borrower;
    const SSeen own = Own();
    CIM::InChild(
        [&]
        {
            const rlimit none{0, 0};
            setrlimit(RLIMIT_NICE, &none);
            __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
            __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
            ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
            SetOwn({SCHED_OTHER, own.niceValue + 1});
            EXPECT_EQ(resource_set_cpu_inheritance(0, borrower.Name(), 1999), -EPERM);
            borrower.Expect(own);
        });
}
} // namespace
