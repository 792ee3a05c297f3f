#pragma once

#include "commandline/CommandLine.h"
#include "simulator/daemon/Serve.h"

namespace CIM::sim
{
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
} // namespace CIM::sim
