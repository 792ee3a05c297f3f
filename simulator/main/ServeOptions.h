#pragma once

#include "simulator/daemon/Serve.h"

#include <CLI/CLI.hpp>

namespace CIM::sim
{
/// The options that every command with a simulator takes, as they are given.
struct TSServeArguments
{
    TSServeOptions options;
    std::vector<std::string> faults;
    std::vector<std::string> insertions;

    void AddTo(CLI::App& app);
    /// The options once everything is parsed. \throws CLI::ValidationError
    TSServeOptions Take() const;
};
} // namespace CIM::sim
