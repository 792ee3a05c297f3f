#pragma once

#include "SimulatedDaemon.h"
#include "simulator/definition/Definition.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CIM::sim
{
struct TSServeOptions
{
    TSSetDefinition set = DefaultSet();
    std::uint64_t seed = 1;
    TTime warmUpMs = 0; ///< the virtual time that has passed when the daemon goes on the bus
    TSSimulatedDaemonOptions daemon;
    std::vector<TSFault> faults; ///< of calls, on from the beginning
    /// Called once all names are owned.
    std::function<void()> onReady;
    /// Called when a signal ends the simulator. May be empty.
    std::function<void(int number)> onSignal;
    /// Called before the daemon goes on the bus, with a function that ends the simulator with an exit status; what it
    /// returns lives as long as the daemon. For whoever plays a story.
    std::function<std::shared_ptr<void>(TCSimulatedDaemon& daemon, std::function<void(int)> quit)> company;
};

/// Plays the daemon in this process, on the default main context, until SIGTERM, SIGINT, the control object or its
/// company ends it.
/// \return the exit status: 0 after a clean stop, 1 with a line on standard error when it cannot start or the bus is
///         lost, or what its company said
int Serve(const TSServeOptions& options);
} // namespace CIM::sim
