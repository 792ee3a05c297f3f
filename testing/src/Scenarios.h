#pragma once

#include "simulator/scenario/Scenario.h"

namespace CIM::test
{
/// A scenario by the name of a shipped one, or a file. \throws std::invalid_argument when there is none, or it is wrong
sim::TSScenario LoadScenario(const std::string& nameOrPath);

/// A set definition. \throws std::invalid_argument when the text is none
sim::TSSetDefinition ParseSet(const std::string& text);
} // namespace CIM::test
