#pragma once

#include <dbus/dbus.h>

#include <memory>
#include <string>

// libdbus's objects with one owner each.

namespace CIM::sim
{
struct TSMessageRelease
{
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using TMessage = std::unique_ptr<DBusMessage, TSMessageRelease>;

struct TSConnectionRelease
{
    void operator()(DBusConnection* connection) const
    {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
/// A private connection: closed when released.
using TConnection = std::unique_ptr<DBusConnection, TSConnectionRelease>;

/// An error that libdbus fills in.
class TBusError
{
public:
    TBusError() { dbus_error_init(&m_error); }
    ~TBusError() { dbus_error_free(&m_error); }
    TBusError(const TBusError&) = delete;
    TBusError& operator=(const TBusError&) = delete;

    DBusError* Out() { return &m_error; }
    bool IsSet() const { return dbus_error_is_set(&m_error); }
    std::string Name() const { return IsSet() ? m_error.name : ""; }
    std::string Text() const { return IsSet() ? m_error.message : "no reason given"; }

private:
    DBusError m_error;
};

/// A private connection to the system bus, without exit on disconnect; null with an error. Unlike libdbus, which
/// remembers the address of its first connection, it goes where DBUS_SYSTEM_BUS_ADDRESS leads now, so that a program
/// can have one bus after the other. Blocks until the bus has answered.
TConnection ConnectToSystemBus(TBusError& error);
} // namespace CIM::sim
