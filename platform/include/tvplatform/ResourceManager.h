#pragma once

#include <tvplatform/Export.h>

#include <sys/types.h>

/// Lends the scheduling policy and nice value of a thread to every thread of a named process (of several with that
/// name: the oldest). Loans may overlap: the latest that has not ended counts, and behind the last one the process has
/// its own scheduling again. Thread-safe.
/// \param[in] thread       kernel id of the lending thread; 0 means the calling one
/// \param[in] destination  program name of the process that borrows
/// \param[in] timeout_ms   the loan ends by itself after that many milliseconds
/// \return 0, or a negative errno-style code: -ENOENT no such process, -EPERM the kernel refuses, or would
///         refuse to undo it; -ESRCH no such lending thread, -EINVAL no name or a time that is not positive
extern "C" TVPLATFORM_EXPORT int resource_set_cpu_inheritance(pid_t thread, const char* destination, int timeout_ms);

/// Ends the thread's latest loan to the named process. Same arguments and codes; 0 when the loan has already ended.
extern "C" TVPLATFORM_EXPORT int resource_clear_cpu_inheritance(pid_t thread, const char* destination);
