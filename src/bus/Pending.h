#pragma once

#include "bus/Handles.h"

#include <chrono>

// Calls of libdbus's that are under way.

namespace CIM
{
struct TSPendingCallRelease
{
    void operator()(DBusPendingCall* pending) const
    {
        dbus_pending_call_cancel(pending);
        dbus_pending_call_unref(pending);
    }
};
/// Owns a call that was sent; cancelled when released.
using TCPendingCallPtr = std::unique_ptr<DBusPendingCall, TSPendingCallRelease>;

/// Sends a method call, without waiting. \param call  null: no memory \return null with the error set
inline TCPendingCallPtr Ask(DBusConnection* connection, DBusMessage* call, std::chrono::milliseconds time,
                            TCDBusError& error)
{
    DBusPendingCall* pending = nullptr;
    if (call == nullptr || !dbus_connection_send_with_reply(connection, call, &pending, static_cast<int>(time.count())))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
    }
    else if (pending == nullptr)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
    }
    return TCPendingCallPtr(pending);
}

/// Blocks until the answer or the end of the call's time. \return null with the error set
inline TCMessagePtr Answer(const TCPendingCallPtr& pending, TCDBusError& error)
{
    if (!pending)
    {
        return nullptr;
    }
    dbus_pending_call_block(pending.get());
    TCMessagePtr answer(dbus_pending_call_steal_reply(pending.get()));
    return dbus_set_error_from_message(error.Get(), answer.get()) ? nullptr : std::move(answer);
}
} // namespace CIM
