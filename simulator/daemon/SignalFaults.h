#pragma once

#include "BusPort.h"
#include "Clients.h"
#include "simulator/faults/Fault.h"
#include "Timers.h"

namespace CIM::sim
{
/// A signal that breaks the layout. The shapes:
///   empty             no arguments
///   identifier-type   the identifier as INT32
///   no-handle         the handle left out
///   no-length         nothing behind the handle
///   length-type       the length as a text
///   no-payload        nothing behind the length
///   payload-type      a text instead of the bytes
///   payload-elements  a list of INT32 instead of the bytes
///   length-lies       1000 stated, 16 sent
///   length-negative   -1 stated, 16 sent
///   short, long       15 or 64 bytes, stated rightly
///   identifier-text   an identifier that is no number
///   unknown-member    the right arguments under another member
TCMessagePtr MakeMalformedSignal(const std::string& shape, const TSSignal& signal);

/// Signals that nothing in the model has caused: storms, malformed ones, a stranger's. Bound to its thread.
class TCSignalFaults
{
public:
    /// \param[in] timers  storms stop when they are cancelled
    TCSignalFaults(TCBusPort& port, TCTimers& timers, const TCClients& clients)
        : m_port(port), m_timers(timers), m_clients(clients)
    {
    }

    void Begin(const TSFault& fault);

private:
    void m_Storm(const TSFault& fault, unsigned sent, gint64 startUs);
    void m_Send(const TSFault& fault, TCMessagePtr message);
    void m_SendFromStranger(const TSFault& fault);

    TCBusPort& m_port;
    TCTimers& m_timers;
    const TCClients& m_clients;
};
} // namespace CIM::sim
