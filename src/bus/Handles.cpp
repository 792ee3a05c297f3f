#include "bus/Handles.h"

namespace CIM
{
namespace
{
constexpr const char* SYSTEM_BUS_ADDRESS = "unix:path=/var/run/dbus/system_bus_socket";
} // namespace

TCConnectionPtr OpenUnregisteredSystemBus(std::chrono::milliseconds time, TCDBusError& error)
{
    using TClock = std::chrono::steady_clock;
    const char* const address = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    TCConnectionPtr connection(
        dbus_connection_open_private(address != nullptr ? address : SYSTEM_BUS_ADDRESS, error.Get()));
    if (!connection)
    {
        return nullptr;
    }
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    const TClock::time_point deadline = TClock::now() + time;
    while (!dbus_connection_get_is_authenticated(connection.get()))
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now());
        if (left.count() <= 0)
        {
            dbus_set_error_const(error.Get(), DBUS_ERROR_NO_REPLY, "The bus does not authenticate this process");
            return nullptr;
        }
        dbus_connection_read_write(connection.get(), static_cast<int>(left.count()));
        if (!dbus_connection_get_is_connected(connection.get()))
        {
            dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "The bus has closed the connection");
            return nullptr;
        }
    }
    return connection;
}
} // namespace CIM
