#pragma once

#include <ciapi/CIEnumerations.h>

#include <cstdint>

namespace CIM
{
// clang-format off
#define CIAPI_VALUES_ESpeedRestriction(X) \
    X(7, SPEED_RESTRICTION_NONE)
/// How fast a recording may be wound. Only the value that stands for no restriction is named; the others are the
/// daemon's. ToString as for the enumerations of CIEnumerations.h.
CIAPI_ENUMERATION(ESpeedRestriction)
// clang-format on

/// A section of a recording: 16 bytes that travel as they are, in the host's byte order. What they mean is the
/// daemon's.
struct SContentSection
{
    std::int64_t firstValue = 0;  ///< 8 bytes on every machine
    std::int64_t secondValue = 0; ///< 8 bytes on every machine

    /// Both values are equal.
    friend bool operator==(const SContentSection& a, const SContentSection& b)
    {
        return a.firstValue == b.firstValue && a.secondValue == b.secondValue;
    }
    /// Not ==.
    friend bool operator!=(const SContentSection& a, const SContentSection& b) { return !(a == b); }
};
static_assert(sizeof(SContentSection) == 16, "a section travels as sixteen bytes");
} // namespace CIM
