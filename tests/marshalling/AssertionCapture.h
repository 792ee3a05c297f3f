#pragma once

#include <string>
#include <vector>

/// The assertions reported since the last call, as "expression@file:line".
std::vector<std::string> TakeAssertions();
