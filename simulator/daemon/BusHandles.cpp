#include "BusHandles.h"

#include <cstdlib>

namespace CIM::sim
{
TConnection ConnectToSystemBus(TBusError& error)
{
    const char* const address = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    TConnection connection(address != nullptr ? dbus_connection_open_private(address, error.Out())
                                              : dbus_bus_get_private(DBUS_BUS_SYSTEM, error.Out()));
    if (connection == nullptr)
    {
        return nullptr;
    }
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    if (address != nullptr && !dbus_bus_register(connection.get(), error.Out()))
    {
        return nullptr;
    }
    return connection;
}
} // namespace CIM::sim
