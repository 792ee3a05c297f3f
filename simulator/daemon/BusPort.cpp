#include "BusPort.h"

#include <dbus/dbus-glib-lowlevel.h>

#include <exception>
#include <stdexcept>

namespace CIM::sim
{
namespace
{
constexpr const char* GONE_RULE = "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                                  "member='NameOwnerChanged',arg2=''";
} // namespace

TCBusPort::TCBusPort(GMainContext* context, TSEvents events) : m_context(context), m_events(std::move(events)) {}

void TCBusPort::Connect()
{
    TCDBusError busError;
    m_connection = OpenCurrentSystemBus(busError);
    if (m_connection == nullptr)
    {
        throw std::runtime_error(std::string("no system bus: ") + busError.Text());
    }
    DBusConnection* const connection = m_connection.get();
    dbus_bus_add_match(connection, GONE_RULE, busError.Get());
    if (busError.IsSet() || !dbus_connection_add_filter(connection, m_Filter, this, nullptr))
    {
        m_connection.reset();
        throw std::runtime_error(std::string("the system bus refuses: ") + busError.Text());
    }
    dbus_connection_setup_with_g_main(connection, m_context);
}

void TCBusPort::Disconnect()
{
    if (m_connection != nullptr)
    {
        dbus_connection_flush(m_connection.get());
        dbus_connection_remove_filter(m_connection.get(), m_Filter, this);
        m_connection.reset();
    }
}

void TCBusPort::TakeName(const std::string& name)
{
    if (m_connection == nullptr)
    {
        throw std::runtime_error("not on the bus");
    }
    TCDBusError busError;
    switch (dbus_bus_request_name(m_connection.get(), name.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, busError.Get()))
    {
    case DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER:
    case DBUS_REQUEST_NAME_REPLY_ALREADY_OWNER:
        return;
    case DBUS_REQUEST_NAME_REPLY_EXISTS:
        throw std::runtime_error("somebody else owns the bus name " + name);
    default:
        throw std::runtime_error("the bus refuses the name " + name + ": " + busError.Text());
    }
}

void TCBusPort::LeaveName(const std::string& name)
{
    if (m_connection != nullptr)
    {
        TCDBusError busError;
        dbus_bus_release_name(m_connection.get(), name.c_str(), busError.Get());
    }
}

void TCBusPort::Send(DBusMessage* message)
{
    if (m_connection != nullptr)
    {
        dbus_connection_send(m_connection.get(), message, nullptr);
    }
}

long TCBusPort::OutgoingBytes() const
{
    return m_connection != nullptr ? dbus_connection_get_outgoing_size(m_connection.get()) : 0;
}

CIM_CALLED_FROM_OUTSIDE DBusHandlerResult TCBusPort::m_Filter(DBusConnection*, DBusMessage* message, void* self)
{
    return static_cast<TCBusPort*>(self)->m_Handle(message);
}

DBusHandlerResult TCBusPort::m_Handle(DBusMessage* message)
{
    const TCMessagePtr kept(dbus_message_ref(message)); // a handler may close the connection that holds it
    try
    {
        if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL)
        {
            if (dbus_message_has_interface(message, DBUS_INTERFACE_PEER))
            {
                return DBUS_HANDLER_RESULT_NOT_YET_HANDLED; // libdbus's own
            }
            m_events.onCall(message);
            return DBUS_HANDLER_RESULT_HANDLED;
        }
        if (dbus_message_is_signal(message, DBUS_INTERFACE_LOCAL, "Disconnected"))
        {
            m_events.onLost();
            return DBUS_HANDLER_RESULT_HANDLED;
        }
        const char* name = nullptr;
        if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged") &&
            dbus_message_has_sender(message, DBUS_SERVICE_DBUS) &&
            dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID) && name[0] == ':')
        {
            m_events.onClientGone(name);
        }
    }
    catch (const std::exception& error)
    {
        g_printerr("ci-daemon-sim: %s\n", error.what());
    }
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}
} // namespace CIM::sim
