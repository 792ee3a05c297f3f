#pragma once

#include <string>

namespace CIM::sim
{
/// How a command, or whatever else is waited for, has ended. Can be shared between processes.
struct TSCommandEnd
{
    int status = 0;        ///< a shell's: its own, or 128 and the signal
    int signal = 0;        ///< that ended it; 0: none
    int startError = 0;    ///< why it could not even be started, an errno; 0: it was
    int interruption = 0;  ///< the signal by which a user ended all of it; 0: none
    bool wasAsked = false; ///< the simulator has asked it to end

    /// It has failed by itself, rather than done as it was told.
    bool IsBad() const;
    /// "killed by SIGSEGV", "with status 1", "it cannot be started: No such file or directory"; empty for status 0.
    std::string Words() const;
};

/// "SIGTERM".
std::string SignalName(int number);
} // namespace CIM::sim
