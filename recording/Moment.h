#pragma once

#include <cstdint>

namespace CIM::recording
{
/// When something came, by both clocks of the machine.
struct TSMoment
{
    std::int64_t real = 0;      ///< nanoseconds since 1970; jumps when the clock is set
    std::int64_t monotonic = 0; ///< nanoseconds since the machine started

    static TSMoment Now();
};

/// In nanoseconds, by the clock that does not jump where both have it; what is beyond what can be told stays at its end.
constexpr std::int64_t TimeBetween(const TSMoment& from, const TSMoment& to)
{
    const bool isMonotonic = from.monotonic != 0 && to.monotonic != 0;
    const std::int64_t begin = isMonotonic ? from.monotonic : from.real;
    std::int64_t between = 0;
    return __builtin_sub_overflow(isMonotonic ? to.monotonic : to.real, begin, &between)
               ? (begin < 0 ? INT64_MAX : INT64_MIN)
               : between;
}
} // namespace CIM::recording
