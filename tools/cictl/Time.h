#pragma once

#include <string>

namespace CIM::cictl
{
/// The local time, "2025-01-31T23:59:59.999".
std::string Now();
} // namespace CIM::cictl
