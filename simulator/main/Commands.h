#pragma once

#include "commandline/CommandLine.h"

namespace CIM::sim
{
/// All commands of ci-daemon-sim.
const std::vector<TSCommand>& Commands();

std::function<int()> PrepareServe(TCCommandLine line);
std::function<int()> PrepareRun(TCCommandLine line);
std::function<int()> PrepareControl(TCCommandLine line);
std::function<int()> PreparePlay(TCCommandLine line);
std::function<int()> PrepareScreen(TCCommandLine line);
std::function<int()> PrepareList(TCCommandLine line);
std::function<int()> PrepareDescribe(TCCommandLine line);
std::function<int()> PrepareCheck(TCCommandLine line);
std::function<int()> PrepareScenario(TCCommandLine line);
} // namespace CIM::sim
