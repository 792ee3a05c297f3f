#pragma once

#include <sys/types.h>

/// Lends the scheduling of a thread to the threads of another process, for the time of a call. The library does not look
/// at the results: a platform without such a thing says -ENOTSUP. Thread-safe; must not block.
/// \param thread       kernel id of the lending thread; 0, as the library says, is the calling one
/// \param destination  program name of the process that borrows: "ci-daemon"
/// \param timeout_ms   the loan ends by itself after that many milliseconds
/// \return 0 or a negative errno-style code
extern "C" int resource_set_cpu_inheritance(pid_t thread, const char* destination, int timeout_ms);
/// Ends the thread's latest loan to the process.
extern "C" int resource_clear_cpu_inheritance(pid_t thread, const char* destination);
