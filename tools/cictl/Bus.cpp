#include "cictl/Bus.h"

#include "cictl/Verb.h"

namespace CIM::cictl
{
TCBus::TCBus()
{
    TCDBusError error;
    m_connection = OpenSystemBus(error);
    if (!m_connection)
    {
        throw TCFailure(EXIT_NO_DAEMON, std::string("there is no system bus: ") + error.Text());
    }
}

TCMessagePtr TCBus::Ask(DBusMessage* call, TCDBusError& error)
{
    return TCMessagePtr(
        dbus_connection_send_with_reply_and_block(m_connection.get(), call, DBUS_TIMEOUT_USE_DEFAULT, error.Get()));
}

std::string TCBus::OwnerOf(const std::string& name)
{
    const TCMessagePtr call(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetNameOwner"));
    const char* const text = name.c_str();
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    TCDBusError error;
    const TCMessagePtr reply = Ask(call.get(), error);
    const char* owner = nullptr;
    if (reply && dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID))
    {
        return owner;
    }
    if (dbus_error_has_name(error.Get(), DBUS_ERROR_NAME_HAS_NO_OWNER))
    {
        return {};
    }
    throw TCFailure(EXIT_NO_DAEMON, std::string("the system bus does not answer: ") + error.Text());
}
} // namespace CIM::cictl
