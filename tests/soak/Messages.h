#pragma once

#include "soak/Daemon.h"

#include <cstring>
#include <dbus/dbus.h>
#include <memory>
#include <stdexcept>

// Messages of the daemon and of those who imitate it, by libdbus alone.

namespace CIM::soak
{
struct SUnref
{
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using TMessage = std::unique_ptr<DBusMessage, SUnref>;

/// \throws std::runtime_error when there is no bus
inline DBusConnection* Connect()
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* const connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
    if (connection == nullptr)
    {
        const std::string text = error.message;
        dbus_error_free(&error);
        throw std::runtime_error(text);
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    return connection;
}

inline void AppendBytes(DBusMessage* message, dbus_int32_t statedLength, const void* bytes, std::size_t length)
{
    dbus_message_append_args(message, DBUS_TYPE_INT32, &statedLength, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes,
                             static_cast<int>(length), DBUS_TYPE_INVALID);
}

/// The signal of a key with a stamp; a payload that is cut is one that the library has to drop.
inline TMessage SignalOf(unsigned key, TStamp stamp, bool isCut = false)
{
    TMessage signal(
        dbus_message_new_signal("/com/kelvora/ciapi/SignalObject", "com.kelvora.ciapi.SignalIFace", "Signal"));
    const std::string type = std::to_string(SignalTypeOf(key));
    const std::string handle = std::to_string(HandleOf(key)); // of the main profile, whose number is 0
    const char* const typeText = type.c_str();
    const char* const handleText = handle.c_str();
    dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &typeText, DBUS_TYPE_STRING, &handleText,
                             DBUS_TYPE_INVALID);
    unsigned char payload[16] = {};
    const std::uint16_t number = HandleOf(key);
    std::memcpy(payload, &stamp, sizeof stamp);
    std::memcpy(payload + 12, &number, sizeof number);
    const std::size_t length = isCut ? 15 : sizeof payload;
    AppendBytes(signal.get(), static_cast<dbus_int32_t>(length), payload, length);
    return signal;
}
} // namespace CIM::soak
