#pragma once

#include <tvplatform/Export.h>

#include <sys/types.h>

/// Lends the scheduling policy and nice value of a thread to a named process.
/// \param[in] thread        kernel id of the lending thread; 0 means the calling one
/// \param[in] destination   program name of the process that borrows
/// \param[in] timeout_ms    the loan ends by itself after that many milliseconds
/// \return 0, or a negative errno-style code: -ENOENT no such process, -EPERM the kernel refuses
/// Thread-safe.
extern "C" TVPLATFORM_EXPORT int resource_set_cpu_inheritance(pid_t thread, const char* destination, int timeout_ms);

/// Ends a loan and gives the named process its own scheduling back. Same arguments and codes.
extern "C" TVPLATFORM_EXPORT int resource_clear_cpu_inheritance(pid_t thread, const char* destination);
