#pragma once

#include "CommandEnd.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace CIM::sim
{
/// Exit statuses of our own, as other commands that run commands have them.
inline constexpr int EXIT_SANDBOX_FAILED = 125;
inline constexpr int EXIT_NOT_EXECUTABLE = 126;
inline constexpr int EXIT_NOT_FOUND = 127;

struct TSSandboxOptions
{
    /// Feature keys of the set, with their whole names.
    std::map<std::string, std::string> featureKeys;
    /// Plays the daemon, in a process of its own that is on the private bus already; calls ready once it can be used.
    /// \return its exit status
    std::function<int(const std::function<void()>& ready)> simulator;
    /// Descriptors that the simulator gets; here they are closed once it has them.
    std::vector<int> handed;
    std::vector<std::string> command;
    /// Runs in the place of a command when there is none, in a process of its own. \return its exit status
    std::function<int()> application;
    /// Whether the simulator wants the command to end: a SIGTERM then comes from it, not from a user. A command that
    /// goes on all the same is ended after 5 seconds. May be empty.
    std::function<bool()> isOver;
    /// Called when the command has ended, or could not be started, and the simulator is there yet. May be empty.
    std::function<void(const TSCommandEnd&)> onCommandEnd;
};

/// Runs a command beside a simulator on a private system bus with its own feature keys and readiness marker. All of it
/// lies in a temporary folder and ends with this process, in whatever way this process ends. To be called by a process
/// with a single thread.
/// \return the command's exit status, or 128 and the signal that ended it; when that is 0, the simulator's; or one of
///         the statuses above, with a line on standard error
int RunInSandbox(const TSSandboxOptions& options);
} // namespace CIM::sim
