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

/// Whether this process, or the one that it was forked from, has asked TCCIService for an instance, or whether CI is
/// operable. The feature keys are read and the bus is chosen then: a change of either comes too late. Thread-safe.
CIAPI_EXPORT bool HasBeenUsed();
} // namespace CIM
