#pragma once

#include "bus/Handles.h"

namespace CIM
{
/// What a process that offers nothing answers when it is called: org.freedesktop.DBus.Peer, and otherwise an error.
/// \return null when the message wants no answer, or there is no memory
TCMessagePtr AnswerAsPeer(DBusMessage* call);
} // namespace CIM
