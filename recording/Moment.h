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
} // namespace CIM::recording
