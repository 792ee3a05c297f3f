#include "support/ScriptedDaemon.h"

#include "bus/Handles.h"

#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace CIM
{
namespace
{
TCScriptedDaemon::TMessage Own(DBusMessage* message)
{
    return {message, [](DBusMessage* owned)
            {
                if (owned != nullptr)
                {
                    dbus_message_unref(owned);
                }
            }};
}

void AppendPayload(DBusMessage* message, int statedLength, std::string_view payload)
{
    const dbus_int32_t length = statedLength;
    const char* const bytes = payload.data() != nullptr ? payload.data() : "";
    dbus_message_append_args(message, DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes,
                             static_cast<int>(payload.size()), DBUS_TYPE_INVALID);
}
} // namespace

TCScriptedDaemon::TCScriptedDaemon(const std::vector<std::string>& names, TAnswer answer)
    : m_answer(std::move(answer)), m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    dbus_threads_init_default();
    DBusError error;
    dbus_error_init(&error);
    m_connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
    if (m_connection == nullptr)
    {
        const std::string text = error.message;
        dbus_error_free(&error);
        close(m_wakeUp);
        throw std::runtime_error("the scripted daemon found no bus: " + text);
    }
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    dbus_connection_add_filter(m_connection, m_Filter, this, nullptr);
    m_uniqueName = dbus_bus_get_unique_name(m_connection);
    for (const std::string& name : names)
    {
        if (dbus_bus_request_name(m_connection, name.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr) !=
            DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        {
            dbus_connection_close(m_connection);
            dbus_connection_unref(m_connection);
            close(m_wakeUp);
            throw std::runtime_error("the scripted daemon cannot own " + name);
        }
    }
    m_thread = std::thread([this] { m_Run(); });
}

TCScriptedDaemon::~TCScriptedDaemon()
{
    m_stopping.store(true);
    m_WakeUp();
    m_thread.join();
    dbus_connection_close(m_connection);
    dbus_connection_unref(m_connection);
    close(m_wakeUp);
}

void TCScriptedDaemon::Send(const TMessage& message)
{
    dbus_connection_send(m_connection, message.get(), nullptr);
    if (dbus_connection_has_messages_to_send(m_connection))
    {
        m_WakeUp();
    }
}

void TCScriptedDaemon::Vanish()
{
    m_vanishing.store(true);
    m_WakeUp();
}

void TCScriptedDaemon::m_WakeUp() const { eventfd_write(m_wakeUp, 1); }

// Never blocks inside libdbus, so that Send works from other threads.
void TCScriptedDaemon::m_Run()
{
    int socket = -1;
    dbus_connection_get_unix_fd(m_connection, &socket);
    bool connected = true;
    while (!m_stopping.load() || (connected && dbus_connection_has_messages_to_send(m_connection)))
    {
        const short events = dbus_connection_has_messages_to_send(m_connection) ? POLLIN | POLLOUT : POLLIN;
        pollfd waited[] = {{m_wakeUp, POLLIN, 0}, {socket, events, 0}};
        poll(waited, connected ? 2 : 1, -1);
        if (waited[0].revents != 0)
        {
            eventfd_t value;
            eventfd_read(m_wakeUp, &value);
        }
        if (m_vanishing.load() && connected)
        {
            dbus_connection_close(m_connection);
        }
        dbus_connection_read_write(m_connection, 0);
        while (dbus_connection_dispatch(m_connection) == DBUS_DISPATCH_DATA_REMAINS)
        {
        }
        connected = dbus_connection_get_is_connected(m_connection);
    }
}

CIM_CALLED_FROM_OUTSIDE DBusHandlerResult TCScriptedDaemon::m_Filter(DBusConnection*, DBusMessage* message, void* self)
{
    return static_cast<TCScriptedDaemon*>(self)->m_Handle(message);
}

DBusHandlerResult TCScriptedDaemon::m_Handle(DBusMessage* message)
{
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_METHOD_CALL ||
        !dbus_message_has_member(message, "MethodCall"))
    {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const TMessage request = Own(dbus_message_ref(message));
    if (const TMessage reply = m_answer(request))
    {
        dbus_connection_send(m_connection, reply.get(), nullptr);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

TCScriptedDaemon::TMessage TCScriptedDaemon::Reply(const TMessage& request, unsigned char status,
                                                   std::string_view payload)
{
    return Reply(request, status, static_cast<int>(payload.size()), payload);
}

TCScriptedDaemon::TMessage TCScriptedDaemon::Reply(const TMessage& request, unsigned char status, int statedLength,
                                                   std::string_view payload)
{
    TMessage reply = Own(dbus_message_new_method_return(request.get()));
    dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INVALID);
    AppendPayload(reply.get(), statedLength, payload);
    return reply;
}

TCScriptedDaemon::TMessage TCScriptedDaemon::Error(const TMessage& request, const char* name, const char* text)
{
    return Own(dbus_message_new_error(request.get(), name, text));
}

TCScriptedDaemon::TMessage TCScriptedDaemon::Signal(const char* member, const std::string& identifier,
                                                    const char* handle, std::string_view payload)
{
    TMessage signal =
        Own(dbus_message_new_signal("/com/kelvora/ciapi/SignalObject", "com.kelvora.ciapi.SignalIFace", member));
    const char* const text = identifier.c_str();
    dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    if (handle != nullptr)
    {
        dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &handle, DBUS_TYPE_INVALID);
    }
    AppendPayload(signal.get(), static_cast<int>(payload.size()), payload);
    return signal;
}

std::string TCScriptedDaemon::Payload(DBusMessage* message)
{
    DBusMessageIter iter;
    std::string payload;
    if (dbus_message_iter_init(message, &iter))
    {
        do
        {
            if (dbus_message_iter_get_arg_type(&iter) == DBUS_TYPE_ARRAY &&
                dbus_message_iter_get_element_type(&iter) == DBUS_TYPE_BYTE)
            {
                DBusMessageIter array;
                const char* bytes = nullptr;
                int length = 0;
                dbus_message_iter_recurse(&iter, &array);
                dbus_message_iter_get_fixed_array(&array, &bytes, &length);
                payload.assign(bytes, static_cast<std::size_t>(length));
            }
        } while (dbus_message_iter_next(&iter));
    }
    return payload;
}
} // namespace CIM
