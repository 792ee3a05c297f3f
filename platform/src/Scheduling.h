#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/types.h>

// Reading and changing how the kernel schedules threads. Private to the resource manager.

struct SScheduling
{
    int policy = SCHED_OTHER;
    int priority = 0; ///< of the real-time policies
    int niceValue = 0;

    friend bool operator==(const SScheduling&, const SScheduling&) = default;
};

/// \return 0 or a negative errno-style code
int ReadScheduling(pid_t thread, SScheduling& scheduling);
int ApplyScheduling(pid_t thread, const SScheduling& scheduling);

/// Whether the kernel may refuse to go from one scheduling back to another that it lets this process leave.
bool IsOneWayStep(const SScheduling& from, const SScheduling& to);

/// \return the process with that program name that started first, or -1
pid_t FindProcess(const std::string& name);
bool IsNamed(pid_t process, const std::string& name);
/// The threads of a process; empty when it has ended.
std::vector<pid_t> ThreadsOf(pid_t process);
/// When a thread started, in the kernel's ticks: tells it from a later one with the same number.
std::optional<unsigned long long> StartTimeOf(pid_t process, pid_t thread);
