#pragma once

#include "commandline/Manual.h"

namespace CIM::sim
{
/// What the manual pages have of the simulator beside its commands: "controls" of ctl, and of scenarios "deeds",
/// "conditions" and "faults".
std::map<std::string, std::function<TManualTable()>> ManualTables();
} // namespace CIM::sim
