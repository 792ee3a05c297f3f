#pragma once

#include "Scenario.h"

namespace CIM::sim
{
/// A scenario in words: what it tells, what happens, what must hold and what must never happen.
std::string Describe(const TSScenario& scenario);
} // namespace CIM::sim
