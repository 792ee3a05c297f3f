#pragma once

#include <cstdint>
#include <string>

namespace CIM::cictl
{
/// The local time, "2025-01-31T23:59:59.999".
std::string Now();

/// The same of a moment. \param[in] nanoseconds  since 1970
std::string TimeText(std::int64_t nanoseconds);
} // namespace CIM::cictl
