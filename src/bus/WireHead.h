#pragma once

#include "protocol/Envelope.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

// The wire form of D-Bus messages, as far as the usual reply needs it. Everything else is left to libdbus.

namespace CIM
{
constexpr std::size_t WIRE_FIXED_HEADER_SIZE = 16; ///< enough of a message to tell its size
constexpr std::size_t WIRE_BODY_SIZE_OFFSET = 4;   ///< a number of four bytes, as the next one
constexpr std::size_t WIRE_SERIAL_OFFSET = 8;

/// A number in the byte order of the host; not aligned.
std::uint32_t WireNumber(const char* place);
void SetWireNumber(char* place, std::uint32_t number);

/// What the head of a message says.
struct SWireHead
{
    int type = 0;                  ///< one of the DBUS_MESSAGE_TYPE_ values
    std::uint32_t replySerial = 0; ///< 0: it answers nothing
    std::size_t bodyOffset = 0;
    bool isReply = false; ///< a method return with the signature of protocol::SReplyEnvelope
};

/// Reads the head. The bytes may be anybody's, and may end behind the head.
/// \return nothing when it takes libdbus to read it: the byte order is not the host's, a field is unknown, or it is wrong
std::optional<SWireHead> ReadWireHead(std::span<const char> message);

/// Reads the arguments of a usual reply, without copying its payload. \param message  the whole message, and its head
/// \return nothing when it takes libdbus to read it
std::optional<protocol::SReplyEnvelope> ReadWireReply(std::span<const char> message, const SWireHead& head);
} // namespace CIM
