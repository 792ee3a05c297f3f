#pragma once

#include "cictl/Bus.h"
#include "json/OperationForm.h"

#include <chrono>

namespace CIM::cictl
{
/// Calls an operation of the daemon without the library, which would first wait for what is not there, and not longer
/// than so much. For completion and whoever examines the set.
/// \return as ReplyToJson of the operation; an empty one with its error text when the reply is not readable; null with
///         the D-Bus error set when there is none
json::TJson QuickCall(TCBus& bus, const json::TCOperationForm& operation, const json::TJson& arguments,
                      std::chrono::milliseconds time, TCDBusError& error);
} // namespace CIM::cictl
