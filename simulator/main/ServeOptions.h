#pragma once

#include "commandline/CommandLine.h"
#include "simulator/daemon/Serve.h"

namespace CIM::sim
{
struct TSScenario;

/// The options that every command with a simulator takes, as they are given.
struct TSServeArguments
{
    TSServeOptions options;
    std::vector<std::string> faults;
    std::vector<std::string> insertions;

    void AddTo(TCCommandLine& line);
    /// The options once everything is parsed. \throws TCUsageError
    TSServeOptions Take() const;
};

/// A scenario says by itself what its set, seed, clock and bus names are.
void TakeScenario(const TSScenario& scenario, TSServeOptions& options);
} // namespace CIM::sim
