#pragma once

#include <ciapi-testing/Daemon.h>

#include "simulator/scenario/Scenario.h"

namespace CIM::test
{
/// What a test asks for; without a scenario, one that is no story: a set, and nothing happens to it.
/// \throws std::invalid_argument when there is none, or it is wrong
sim::TSScenario ScenarioOf(const TSOptions& options);
} // namespace CIM::test
