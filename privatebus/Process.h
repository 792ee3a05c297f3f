#pragma once

#include <optional>

#include <sys/types.h>

// Processes by their identifier, one at a time: what means several to the kernel (0, -1, a group) is refused, so that
// the result of a fork that failed ends nobody.

namespace CIM::privatebus
{
/// Sends a signal. Async-signal-safe. \param[in] number  0 only asks whether the process is there
/// \return false when it was not sent
bool SendSignal(pid_t process, int number);

/// Waits until a child has ended. Async-signal-safe.
/// \return a shell's exit status: its own, or 128 and the signal; -1 when there is no such child
int WaitForEnd(pid_t child);

/// Whether a child has ended. \return nothing while it runs; otherwise as WaitForEnd, once
std::optional<int> CheckForEnd(pid_t child);
} // namespace CIM::privatebus
