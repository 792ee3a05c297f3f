#include "calls/Peer.h"

#include <stdexcept>
#include <unistd.h>

// What an application would write against libdbus.

namespace CIM::bench
{
namespace
{
class TCPlain : public TCPeer
{
public:
    void Call() override
    {
        const TCMessagePtr reply = SendPlainly(m_connection.get(), PlainCall(METHOD_ECHO, t_payload).get());
        unsigned char status = 0;
        dbus_int32_t stated = 0;
        const char* bytes = nullptr;
        int length = 0;
        if (!dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &stated,
                                   DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length, DBUS_TYPE_INVALID))
        {
            throw std::runtime_error("plain libdbus: no answer");
        }
        t_CheckEcho({bytes, static_cast<std::size_t>(length)});
    }

private:
    const TCConnectionPtr m_connection = ConnectPlainly();
};
} // namespace

TCConnectionPtr ConnectPlainly()
{
    dbus_threads_init_default();
    TCDBusError error;
    TCConnectionPtr connection = OpenSystemBus(error);
    if (!connection)
    {
        throw std::runtime_error(error.Text());
    }
    return connection;
}

TCMessagePtr PlainCall(EMethod method, std::string_view payload)
{
    TCMessagePtr call(dbus_message_new_method_call(INTERFACE, "/com/kelvora/Object", INTERFACE, "MethodCall"));
    const dbus_int32_t numbers[] = {method, static_cast<dbus_int32_t>(payload.size()), getpid()};
    DBusMessageIter iter;
    dbus_message_iter_init_append(call.get(), &iter);
    for (const dbus_int32_t& number : numbers)
    {
        dbus_message_iter_append_basic(&iter, DBUS_TYPE_INT32, &number);
    }
    if (!payload.empty())
    {
        const char* const bytes = payload.data();
        DBusMessageIter array;
        dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "y", &array);
        dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &bytes, static_cast<int>(payload.size()));
        dbus_message_iter_close_container(&iter, &array);
    }
    return call;
}

TCMessagePtr SendPlainly(DBusConnection* connection, DBusMessage* call)
{
    DBusPendingCall* pending = nullptr;
    if (!dbus_connection_send_with_reply(connection, call, &pending, -1) || pending == nullptr)
    {
        throw std::runtime_error("plain libdbus: not sent");
    }
    dbus_pending_call_block(pending);
    TCMessagePtr reply(dbus_pending_call_steal_reply(pending));
    dbus_pending_call_unref(pending);
    return reply;
}

std::unique_ptr<TCPeer> MakePlain() { return std::make_unique<TCPlain>(); }
} // namespace CIM::bench
