#include "Scheduling.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr std::size_t COMM_LENGTH = 15; // what the kernel keeps of a program name

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// The entries of a folder of /proc that are numbers.
std::vector<pid_t> Numbers(const std::filesystem::path& folder)
{
    std::vector<pid_t> numbers;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    {
        const std::string name = entry->path().filename().string();
        pid_t number = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (failure == std::errc() && rest == name.data() + name.size())
        {
            numbers.push_back(number);
        }
    }
    std::ranges::sort(numbers);
    return numbers;
}

std::filesystem::path ProcessFolder(pid_t process) { return std::filesystem::path("/proc") / std::to_string(process); }

bool MayChangeAnyScheduling()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    return syscall(SYS_capget, &header, data) == 0 &&
           (data[CAP_TO_INDEX(CAP_SYS_NICE)].effective & CAP_TO_MASK(CAP_SYS_NICE)) != 0;
}

int Urgency(int policy)
{
    switch (policy & ~SCHED_RESET_ON_FORK)
    {
    case SCHED_IDLE:
        return 0;
    case SCHED_FIFO:
    case SCHED_RR:
        return 2;
    default:
        return 1;
    }
}
} // namespace

int ReadScheduling(pid_t thread, SScheduling& scheduling)
{
    sched_param parameters{};
    const int policy = sched_getscheduler(thread);
    if (policy < 0 || sched_getparam(thread, &parameters) != 0)
    {
        return -errno;
    }
    errno = 0;
    const int niceValue = getpriority(PRIO_PROCESS, thread);
    if (errno != 0)
    {
        return -errno;
    }
    scheduling = {policy, parameters.sched_priority, niceValue};
    return 0;
}

int ApplyScheduling(pid_t thread, const SScheduling& scheduling)
{
    sched_param parameters{};
    parameters.sched_priority = scheduling.priority;
    if (sched_setscheduler(thread, scheduling.policy, &parameters) != 0 ||
        setpriority(PRIO_PROCESS, thread, scheduling.niceValue) != 0)
    {
        return errno == EACCES ? -EPERM : -errno;
    }
    return 0;
}

bool IsOneWayStep(const SScheduling& from, const SScheduling& to)
{
    const bool lowered =
        Urgency(to.policy) < Urgency(from.policy) || to.priority < from.priority || to.niceValue > from.niceValue;
    return lowered && !MayChangeAnyScheduling();
}

bool IsNamed(pid_t process, const std::string& name)
{
    std::string comm = ReadFile(ProcessFolder(process) / "comm");
    comm.resize(std::min(comm.size(), comm.find('\n')));
    if (comm != name.substr(0, COMM_LENGTH))
    {
        return false;
    }
    if (name.size() <= COMM_LENGTH)
    {
        return true;
    }
    std::string command = ReadFile(ProcessFolder(process) / "cmdline");
    command.resize(std::min(command.size(), command.find('\0')));
    return std::filesystem::path(command).filename() == name;
}

pid_t FindProcess(const std::string& name)
{
    pid_t found = -1;
    unsigned long long earliest = 0;
    for (const pid_t process : Numbers("/proc"))
    {
        if (!IsNamed(process, name))
        {
            continue;
        }
        const auto started = StartTimeOf(process, process);
        if (started && (found < 0 || *started < earliest))
        {
            found = process;
            earliest = *started;
        }
    }
    return found;
}

std::vector<pid_t> ThreadsOf(pid_t process) { return Numbers(ProcessFolder(process) / "task"); }

std::optional<unsigned long long> StartTimeOf(pid_t process, pid_t thread)
{
    const std::string stat = ReadFile(ProcessFolder(process) / "task" / std::to_string(thread) / "stat");
    const auto name = stat.rfind(')'); // the name may hold anything, also blanks and brackets
    if (name == std::string::npos)
    {
        return std::nullopt;
    }
    std::istringstream fields(stat.substr(name + 1));
    std::string skipped;
    for (int field = 3; field < 22; ++field)
    {
        fields >> skipped;
    }
    unsigned long long started = 0;
    return fields >> started ? std::optional(started) : std::nullopt;
}
