#include "cictl/Bus.h"

#include "cictl/Verb.h"

namespace CIM::cictl
{
TBus::TBus()
{
    TBusError error;
    m_connection.reset(dbus_bus_get_private(DBUS_BUS_SYSTEM, error.Get()));
    if (!m_connection)
    {
        throw TFailure(EXIT_NO_DAEMON, "there is no system bus: " + error.Text());
    }
    dbus_connection_set_exit_on_disconnect(m_connection.get(), FALSE);
}

std::string TBus::OwnerOf(const std::string& name)
{
    const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> call(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetNameOwner"),
        &dbus_message_unref);
    const char* const text = name.c_str();
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    TBusError error;
    const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> reply(
        dbus_connection_send_with_reply_and_block(m_connection.get(), call.get(), DBUS_TIMEOUT_USE_DEFAULT,
                                                  error.Get()),
        &dbus_message_unref);
    const char* owner = nullptr;
    if (reply && dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID))
    {
        return owner;
    }
    if (dbus_error_has_name(error.Get(), DBUS_ERROR_NAME_HAS_NO_OWNER))
    {
        return {};
    }
    throw TFailure(EXIT_NO_DAEMON, "the system bus does not answer: " + error.Text());
}
} // namespace CIM::cictl
