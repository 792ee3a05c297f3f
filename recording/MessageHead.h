#pragma once

#include <cstdint>
#include <string_view>

namespace CIM::recording
{
/// What stands at the head of a D-Bus message. The views belong to the message; what is not there is empty or 0.
struct TSMessageHead
{
    std::uint8_t type = 0; ///< as DBUS_MESSAGE_TYPE_*
    bool wantsNoReply = false;
    std::uint32_t serial = 0;
    std::uint32_t replySerial = 0;
    std::string_view path;
    std::string_view interface;
    std::string_view member;
    std::string_view sender;
    std::string_view destination;
    std::string_view body;
    bool isSwapped = false; ///< the message has the other byte order

    /// The body's first argument as an INT32, whether it is one or not; 0 when the body is too short.
    std::int32_t FirstNumber() const;
    /// ... as a STRING; empty when the body is too short.
    std::string_view FirstText() const;
};

/// Reads the head, without a copy and without a look at the arguments: what it lets pass may still be no message.
/// \return false when the bytes cannot be one
bool ReadMessageHead(std::string_view bytes, TSMessageHead& head);
} // namespace CIM::recording
