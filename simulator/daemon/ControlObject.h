#pragma once

#include "bus/Handles.h"

#include <string>

namespace CIM::sim
{
class TCSimulatedDaemon;

/// Answers a method call that is none of the interfaces': introspection of any object, and the verbs of the control
/// object.
/// \return the reply, or an error that says what is wrong
TCMessagePtr AnswerControl(TCSimulatedDaemon& daemon, DBusMessage* call);

/// Whether a call is for AnswerControl.
bool IsControlCall(DBusMessage* call);

/// The introspection data of an object.
std::string Introspect(const std::string& path);
} // namespace CIM::sim
