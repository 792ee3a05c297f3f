#pragma once

#include "privatebus/Keeper.h"

#include <string>

namespace CIM::bench
{
/// The interface, and bus name, that is called.
inline constexpr const char* INTERFACE = "com.kelvora.ciapi.ICIGeneral";

/// What the daemon can be called for.
enum EMethod : short
{
    METHOD_ECHO = 1,
    METHOD_RAISE = 2, ///< the payload is a TSRaise
};

/// Asks for signals with a few bytes each, whose identifiers go round.
struct TSRaise
{
    int firstIdentifier;
    int identifiers;
    int signals;
};
/// The handle of every signal, as the wire has it.
inline constexpr const char* SIGNAL_HANDLE = "65538";

/// A private bus, which DBUS_SYSTEM_BUS_ADDRESS names, and the daemon on it: processes of their own, which end with this
/// one. Needs a process with a single thread.
class TCBusAndDaemon
{
public:
    TCBusAndDaemon();

private:
    privatebus::TCKeeper m_keeper;
};
} // namespace CIM::bench
