#pragma once

#include "Input.h"

#include "bus/Handles.h"

#include <optional>
#include <span>
#include <string>

// Messages of the bus, made from fuzz bytes.

namespace CIM::fuzz
{
/// The names that a made message may carry besides any other.
struct TSNames
{
    std::span<const std::string> interfaces;
    std::span<const std::string> members;
    std::span<const std::string> paths;
};

/// Takes one message from the input: as it stands on the wire when it begins with the mark of a byte order ('l' or
/// 'B'), or else from a small language of one byte a step, most of whose texts are messages: header, then arguments of
/// any type.
/// \return null when the bytes are no message
TCMessagePtr TakeMessage(TCInput& input, const TSNames& names);

/// The array of bytes at an iterator; nothing when there is none.
std::optional<std::string_view> BytesAt(DBusMessageIter& argument);
} // namespace CIM::fuzz
