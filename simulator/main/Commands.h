#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <vector>

namespace CIM::sim
{
/// One command of ci-daemon-sim.
struct TSCommand
{
    const char* name;
    const char* help;
    /// Adds the command's options and gives what runs it once they are parsed; its result is the exit status.
    std::function<int()> (*prepare)(CLI::App& app);
};

/// All commands. The first one is also what runs when none is named.
const std::vector<TSCommand>& Commands();

std::function<int()> PrepareServe(CLI::App& app);
std::function<int()> PrepareRun(CLI::App& app);
std::function<int()> PrepareControl(CLI::App& app);
std::function<int()> PreparePlay(CLI::App& app);
std::function<int()> PrepareList(CLI::App& app);
std::function<int()> PrepareCheck(CLI::App& app);
} // namespace CIM::sim
