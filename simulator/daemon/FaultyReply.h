#pragma once

#include "BusHandles.h"
#include "Fault.h"

#include <span>

namespace CIM::sim
{
/// The reply that a fault makes of the right one.
/// \param[in] payload  the right reply's
/// \return null for no reply
TMessage MakeFaultyReply(DBusMessage* call, const TSFault& fault, unsigned char status,
                         std::span<const unsigned char> payload);
} // namespace CIM::sim
