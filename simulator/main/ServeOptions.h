#pragma once

#include "simulator/daemon/Serve.h"

#include <CLI/CLI.hpp>

namespace CIM::sim
{
/// Adds the options that every command with a simulator takes.
void AddServeOptions(CLI::App& app, TSServeOptions& options);
} // namespace CIM::sim
