#pragma once

#include <dbus/dbus.h>

namespace CIM::traffic
{
/// Overwrites the secrets in a call of the CI daemon's, or what could be one, in place; every length stays as it is.
/// Reentrant.
void CoverSecrets(DBusMessage* call);
} // namespace CIM::traffic
