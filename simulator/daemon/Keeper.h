#pragma once

#include "Sandbox.h"

#include <string>

#include <sys/types.h>

namespace CIM::sim
{
/// Holds the private bus and the simulator, and ends both when the process that made the keeper ends or lets go: a
/// small process of its own, so that nothing remains however its maker ends.
class TKeeper
{
public:
    TKeeper() = default;
    /// Lets go.
    ~TKeeper() { LetGo(); }
    TKeeper(const TKeeper&) = delete;
    TKeeper& operator=(const TKeeper&) = delete;

    /// Starts bus and simulator in a folder that belongs to the keeper from now on, and waits until the simulator is
    /// ready.
    /// \param[in] configuration  of the bus, which listens on the folder's "socket"
    bool Start(const std::string& folder, const std::string& configuration,
               const std::function<int(const std::function<void()>& ready)>& simulator, std::string& error);

    /// Ends simulator, bus and folder, in this order, and waits for it.
    /// \return the simulator's exit status; 128 and the signal that ended it
    int LetGo();

private:
    pid_t m_keeper = -1;
    int m_lifeline = -1; ///< the keeper ends when this end of a pipe is closed
    int m_report = -1;   ///< what the keeper has to say, line by line
};
} // namespace CIM::sim
