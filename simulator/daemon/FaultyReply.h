#pragma once

#include "simulator/faults/Fault.h"

#include "bus/Handles.h"
#include "protocol/Envelope.h"

namespace CIM::sim
{
/// The reply that a fault makes of the right one.
/// \return null for no reply
TCMessagePtr MakeFaultyReply(DBusMessage* call, const TSFault& fault, protocol::SReplyEnvelope reply);
} // namespace CIM::sim
