#pragma once

#include "cictl/Exit.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace CIM::cictl
{
enum class EHealth
{
    OK,
    WARNING, ///< works, but perhaps not as it is meant
    WRONG,
};

/// One thing that was looked at.
struct TSFinding
{
    EHealth health;
    const char* check;   ///< what kind of thing
    std::string subject; ///< which one: a file, a key, a bus name
    std::string found;
    std::string cure;             ///< one sentence; empty when there is nothing to cure
    EExit status = EXIT_ANSWERED; ///< when it is wrong: what a verb would end with for it
};

using TFindings = std::vector<TSFinding>;

/// What the set says of itself in its feature keys, and where that was looked for.
TFindings ExamineFeatureKeys();

/// Whether the library can be asked for keys. \return 0; -ENOENT when there is no key file, -EIO when a pipe or the like is
/// in the place of one, which would be waited for
int TryFeatureKeys();

/// The readiness marker. \param[in] isDaemonThere  whether anybody owns a bus name of the daemon
TFindings ExamineMarker(bool isDaemonThere);

/// The bus, what this user may do there, and who plays the daemon. Asks for no longer than so much in all.
/// \param[out] isDaemonThere  whether anybody owns a bus name of the daemon
TFindings ExamineBus(std::chrono::milliseconds time, bool& isDaemonThere);
} // namespace CIM::cictl
