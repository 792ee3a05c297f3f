#pragma once

#include <ciapi/CIEnumNames.h>

#include <tvplatform/Types.h>

// The names of the platform's enumerations, for tools. On another platform a value may have other meanings, so that
// the library itself logs these enumerations as numbers.

namespace CIM
{
/// The names of the platform's EProfile.
template <>
struct TSEnumNames<EProfile>
{
    static constexpr std::string_view type = "EProfile"; ///< the enumeration's name
    /// Ascending by value.
    static constexpr TSEnumName<EProfile> entries[] = {
        {PROFILE_NONE, "PROFILE_NONE"},
        {PROFILE_MAIN, "PROFILE_MAIN"},
        {PROFILE_SUB, "PROFILE_SUB"},
        {PROFILE_RECORD, "PROFILE_RECORD"},
        {PROFILE_RECORD_SECOND, "PROFILE_RECORD_SECOND"},
    };
};

/// The names of the platform's EAntennaMode.
template <>
struct TSEnumNames<EAntennaMode>
{
    static constexpr std::string_view type = "EAntennaMode"; ///< the enumeration's name
    /// Ascending by value.
    static constexpr TSEnumName<EAntennaMode> entries[] = {
        {ANTENNA_MODE_NONE, "ANTENNA_MODE_NONE"},
        {ANTENNA_MODE_TERRESTRIAL, "ANTENNA_MODE_TERRESTRIAL"},
        {ANTENNA_MODE_CABLE, "ANTENNA_MODE_CABLE"},
        {ANTENNA_MODE_SATELLITE, "ANTENNA_MODE_SATELLITE"},
    };
};

/// The names of the platform's EServiceMode.
template <>
struct TSEnumNames<EServiceMode>
{
    static constexpr std::string_view type = "EServiceMode"; ///< the enumeration's name
    /// Ascending by value.
    static constexpr TSEnumName<EServiceMode> entries[] = {
        {SERVICE_MODE_NONE, "SERVICE_MODE_NONE"},
        {SERVICE_MODE_GENERIC, "SERVICE_MODE_GENERIC"},
        {SERVICE_MODE_OPERATOR, "SERVICE_MODE_OPERATOR"},
    };
};

/// The names of the platform's EStateChange.
template <>
struct TSEnumNames<EStateChange>
{
    static constexpr std::string_view type = "EStateChange"; ///< the enumeration's name
    /// Ascending by value.
    static constexpr TSEnumName<EStateChange> entries[] = {
        {STATE_CHANGE_NONE, "STATE_CHANGE_NONE"},
        {STATE_CHANGE_SERVICE, "STATE_CHANGE_SERVICE"},
        {STATE_CHANGE_SOURCE, "STATE_CHANGE_SOURCE"},
    };
};
} // namespace CIM
