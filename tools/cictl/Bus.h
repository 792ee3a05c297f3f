#pragma once

#include "bus/Handles.h"

#include <string>

namespace CIM::cictl
{
/// cictl's own connection to the system bus, beside the library's: to find out at once what the library would wait for
/// or end the process for. Bound to its thread.
class TCBus
{
public:
    /// \throws TCFailure when there is no bus
    TCBus();
    /// The unique name that owns a bus name; empty when nobody does. Blocks for the bus's answer.
    /// \throws TCFailure when the bus is gone
    std::string OwnerOf(const std::string& name);
    /// Blocks for the reply to a call. \return null, with the error set, when there is none or it is an error
    TCMessagePtr Ask(DBusMessage* call, TCDBusError& error);
    DBusConnection* Get() const { return m_connection.get(); }

private:
    TCConnectionPtr m_connection;
};
} // namespace CIM::cictl
