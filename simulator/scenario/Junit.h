#pragma once

#include "Play.h"

#include <string>

namespace CIM::sim
{
/// What became of a scenario as a JUnit test suite: a test case for each part. What is no character of XML is shown as
/// U+FFFD.
std::string JunitReport(const std::string& suite, const std::vector<TSPartResult>& results);
} // namespace CIM::sim
