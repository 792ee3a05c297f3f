#pragma once

#include <ciapi/CISignalDataType.h>

#include <tvplatform/Types.h>

#include <cstdint>
#include <cstring>

// The layout of the eight bytes that a signal carries; SignalRows.h says what they mean.

namespace CIM::protocol
{
/// The layout of a signal's data, integers in the host's byte order.
struct SSignalFields
{
    std::uint8_t slot = 0xFF; ///< the slot concerned; NO_SLOT: none
    std::uint8_t code = 0;    ///< a status, reason, message or answer
    std::uint16_t id = 0;     ///< which session, file system, player, ... is meant; 0: there is nothing to tell apart
    std::uint32_t value = 0;  ///< a number that goes with the code
};
static_assert(sizeof(SSignalFields) == sizeof(TSSignalData), "the fields fill the data, without gaps");

inline constexpr std::uint8_t NO_SLOT = 0xFF;

inline TSSignalData PackSignalData(const SSignalFields& fields)
{
    TSSignalData data;
    std::memcpy(data.bytes, &fields, sizeof fields);
    return data;
}

inline SSignalFields UnpackSignalData(const TSSignalData& data)
{
    SSignalFields fields;
    std::memcpy(&fields, data.bytes, sizeof fields);
    return fields;
}

/// A signal as an application receives it.
struct SSignal
{
    ECISignalType type = SIGNAL_CI_TYPE_BEGIN;
    EProfile profile = PROFILE_MAIN;
    unsigned short handle = 0;
    TSSignalData data;
};
} // namespace CIM::protocol
