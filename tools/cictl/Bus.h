#pragma once

#include <dbus/dbus.h>

#include <memory>
#include <string>

namespace CIM::cictl
{
/// cictl's own connection to the system bus, beside the library's: to find out at once what the library would wait for
/// or end the process for. Bound to its thread.
class TBus
{
public:
    /// \throws TFailure when there is no bus
    TBus();
    /// The unique name that owns a bus name; empty when nobody does. Blocks for the bus's answer.
    /// \throws TFailure when the bus is gone
    std::string OwnerOf(const std::string& name);
    DBusConnection* Get() const { return m_connection.get(); }

private:
    struct TClose
    {
        void operator()(DBusConnection* connection) const
        {
            dbus_connection_close(connection);
            dbus_connection_unref(connection);
        }
    };
    std::unique_ptr<DBusConnection, TClose> m_connection;
};

/// A DBusError that frees itself.
class TBusError
{
public:
    TBusError() { dbus_error_init(&m_error); }
    ~TBusError() { dbus_error_free(&m_error); }
    TBusError(const TBusError&) = delete;
    TBusError& operator=(const TBusError&) = delete;
    DBusError* Get() { return &m_error; }
    std::string Text() const { return dbus_error_is_set(&m_error) ? m_error.message : "unknown error"; }

private:
    DBusError m_error;
};
} // namespace CIM::cictl
