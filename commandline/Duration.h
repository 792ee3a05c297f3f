#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace CIM
{
using TMilliseconds = std::chrono::duration<double, std::milli>;

/// A time as it is given on a command line: "50ms", "1.5s", or seconds without a unit.
/// \return nothing when it is none, or negative
std::optional<TMilliseconds> DurationFrom(std::string_view text);

/// How long something is waited for, as it is given: 1 millisecond to 2,000,000 seconds, which in milliseconds fit into 31
/// bits. \return nothing when it is none
std::optional<std::chrono::milliseconds> PatienceFrom(std::string_view text);
/// What PatienceFrom takes, for an error's text.
inline constexpr const char* PATIENCE_WORDS = "seconds from 0.001 to 2000000";
} // namespace CIM
