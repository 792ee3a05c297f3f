#pragma once

#include "bus/Handles.h"

#include <glib.h>

#include <functional>
#include <string>

namespace CIM::sim
{
/// The daemon's place on the system bus: one private connection on a GLib main context. Bound to the context's thread.
class TCBusPort
{
public:
    struct TSEvents
    {
        std::function<void(DBusMessage* call)> onCall;                   ///< every method call
        std::function<void(const std::string& uniqueName)> onClientGone; ///< a connection left the bus
        std::function<void()> onLost;                                    ///< the bus itself is gone
    };

    /// \param[in] context  null: the default one
    TCBusPort(GMainContext* context, TSEvents events);
    TCBusPort(const TCBusPort&) = delete;
    TCBusPort& operator=(const TCBusPort&) = delete;

    /// Connects to the system bus. Blocks until the bus has answered.
    /// \throws std::runtime_error with the reason when it cannot
    void Connect();
    /// Leaves the bus: its names are free, and who waits for a reply is told so at once. What was sent is delivered.
    void Disconnect();
    bool IsConnected() const { return m_connection != nullptr; }

    /// Takes a bus name that nobody has. Blocks until the bus has answered. \throws std::runtime_error with the reason
    void TakeName(const std::string& name);
    void LeaveName(const std::string& name);

    /// Nothing is sent without a connection.
    void Send(DBusMessage* message);
    /// Bytes that the bus has not yet taken.
    long OutgoingBytes() const;

private:
    DBusHandlerResult m_Handle(DBusMessage* message);
    static DBusHandlerResult m_Filter(DBusConnection* connection, DBusMessage* message, void* self);

    GMainContext* m_context;
    TSEvents m_events;
    TCConnectionPtr m_connection;
};
} // namespace CIM::sim
