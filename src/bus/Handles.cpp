#include "bus/Handles.h"

#include <algorithm>

namespace CIM
{
namespace
{
constexpr const char* SYSTEM_BUS_ADDRESS = "unix:path=/var/run/dbus/system_bus_socket";
} // namespace

TCConnectionPtr ConnectToSystemBus(TCDBusError& error)
{
    const char* const address = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    TCConnectionPtr connection(
        dbus_connection_open_private(address != nullptr ? address : SYSTEM_BUS_ADDRESS, error.Get()));
    if (connection)
    {
        dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
        dbus_connection_read_write(connection.get(), 0);
    }
    return connection;
}

bool Authenticate(std::span<DBusConnection* const> connections, std::chrono::milliseconds time, TCDBusError& error)
{
    using TClock = std::chrono::steady_clock;
    const TClock::time_point deadline = TClock::now() + time;
    const auto isWaiting = [](DBusConnection* connection) { return !dbus_connection_get_is_authenticated(connection); };
    while (std::any_of(connections.begin(), connections.end(), isWaiting))
    {
        for (DBusConnection* const connection : connections)
        {
            if (!isWaiting(connection))
            {
                continue;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now());
            if (left.count() <= 0)
            {
                dbus_set_error_const(error.Get(), DBUS_ERROR_NO_REPLY, "The bus does not authenticate this process");
                return false;
            }
            // Takes the bus's answer, and says what follows from it before the next connection's answer is waited for.
            dbus_connection_read_write(connection, static_cast<int>(left.count()));
            if (isWaiting(connection))
            {
                dbus_connection_read_write(connection, 0);
            }
            if (!dbus_connection_get_is_connected(connection))
            {
                dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "The bus has closed the connection");
                return false;
            }
        }
    }
    return true;
}

TCConnectionPtr OpenUnregisteredSystemBus(std::chrono::milliseconds time, TCDBusError& error)
{
    TCConnectionPtr connection = ConnectToSystemBus(error);
    DBusConnection* const each = connection.get();
    return connection && Authenticate({&each, 1}, time, error) ? std::move(connection) : nullptr;
}
} // namespace CIM
