#pragma once

#include <ciapi/Export.h>

namespace CIM
{
/// The short name of the running program (without folder), as the C runtime keeps it. Owned by the runtime; never
/// changes. Thread-safe.
CIAPI_EXPORT const char* GetProgName();

/// The process id, read from the operating system on the first call and kept: a child made by fork() after that call
/// reports its parent's id. Thread-safe.
CIAPI_EXPORT long GetPid();

/// How many signals this process has dropped because their sender runs neither as the user that owns the daemon's bus
/// name, nor as root, nor as this process's own user. The first of each sender is logged as an error. Thread-safe.
CIAPI_EXPORT unsigned long long DroppedSignals();
} // namespace CIM
