#pragma once

#include "cictl/Bus.h"
#include "protocol/SignalData.h"

#include <functional>
#include <map>
#include <string>

namespace CIM::cictl
{
/// Hears the daemon's signals whatever the pipeline, through one match rule of a connection of its own: each of the
/// library's rules names a pipeline, and nobody lists the pipelines of a set. What the daemon raises for others comes as
/// well, in the daemon's order. The same senders count as for the library. Bound to its thread.
class TCAllSignals
{
public:
    /// \throws TCFailure when the bus refuses
    explicit TCAllSignals(std::function<void(const protocol::SSignal&)> handler);

    /// Becomes readable when something comes. What came before this object was made ready waits for the first Take.
    int Descriptor() const { return m_bus.Descriptor(); }
    /// Hands out what has come. Asks the bus about a sender that is new. \throws TCFailure when the bus is gone
    void Take();

private:
    void m_Handle(DBusMessage* message);
    bool m_Counts(DBusMessage* signal);

    TCBus m_bus;
    std::function<void(const protocol::SSignal&)> m_handler;
    std::map<std::string, bool> m_senders; ///< by unique name: whether its signals count
};
} // namespace CIM::cictl
