#pragma once

#include <dbus/dbus.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

// libdbus's objects with one owner each, and the way to a bus.

/// Marks a function that libdbus or GLib calls, which does nothing but call another: the thread sanitizer then has no
/// frame of theirs on the stack of what follows, and hides nothing of it where it is told to leave them alone.
#define CIM_CALLED_FROM_OUTSIDE __attribute__((no_sanitize("thread"), noinline))

namespace CIM
{
struct TSMessageRelease
{
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
/// Owns one reference to a message.
using TCMessagePtr = std::unique_ptr<DBusMessage, TSMessageRelease>;

struct TSConnectionRelease
{
    void operator()(DBusConnection* connection) const
    {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
/// Owns a private connection: closed when released.
using TCConnectionPtr = std::unique_ptr<DBusConnection, TSConnectionRelease>;

/// An error that libdbus fills in; freed when it ends.
class TCDBusError
{
public:
    TCDBusError() { dbus_error_init(&m_error); }
    ~TCDBusError() { dbus_error_free(&m_error); }
    TCDBusError(const TCDBusError&) = delete;
    TCDBusError& operator=(const TCDBusError&) = delete;

    DBusError* Get() { return &m_error; }
    bool IsSet() const { return dbus_error_is_set(&m_error); }
    /// Empty when it is not set.
    const char* Name() const { return m_error.name != nullptr ? m_error.name : ""; }
    const char* Text() const { return m_error.message != nullptr ? m_error.message : ""; }

private:
    DBusError m_error;
};

/// A private connection to the system bus, which does not end the process when the bus is lost. Blocks until the bus
/// has answered. \return null, with the error set, when there is no bus
inline TCConnectionPtr OpenSystemBus(TCDBusError& error)
{
    TCConnectionPtr connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, error.Get()));
    if (connection)
    {
        dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    }
    return error.IsSet() ? nullptr : std::move(connection);
}

/// The same for a bus at an address. libdbus remembers the address of the system bus from its first connection on: a
/// program that has one bus after the other goes by address.
inline TCConnectionPtr OpenBusAt(const char* address, TCDBusError& error)
{
    TCConnectionPtr connection(dbus_connection_open_private(address, error.Get()));
    if (connection)
    {
        dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
        if (!dbus_bus_register(connection.get(), error.Get()))
        {
            return nullptr;
        }
    }
    return connection;
}

/// Opens a private connection to the system bus, and begins to authenticate. Does not wait for the bus.
/// \return null, with the error set, when there is no bus
TCConnectionPtr ConnectToSystemBus(TCDBusError& error);

/// Authenticates connections of ConnectToSystemBus side by side, no more: the bus has sent no message yet, and nothing
/// was read of any. \return false, with the error set, when one of them is not authenticated in time
bool Authenticate(std::span<DBusConnection* const> connections, std::chrono::milliseconds time, TCDBusError& error);

/// Opens a private connection to the system bus and authenticates, no more: the bus has sent no message yet, and nothing
/// was read of any. \return null, with the error set, when there is no bus or it has not answered in time
TCConnectionPtr OpenUnregisteredSystemBus(std::chrono::milliseconds time, TCDBusError& error);

/// The same for the system bus to which DBUS_SYSTEM_BUS_ADDRESS leads now, whatever it was at the first connection.
inline TCConnectionPtr OpenCurrentSystemBus(TCDBusError& error)
{
    const char* const address = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr ? OpenBusAt(address, error) : OpenSystemBus(error);
}
} // namespace CIM
