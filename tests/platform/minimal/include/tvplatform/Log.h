#pragma once

/// The log. Several lines a call, from any thread, also in the child of a fork: it must not block for long, and keeps
/// errno. The library does not look at the result.
/// \param log_id    the buffer: 0 main, 2 system
/// \param priority  3 debug, 4 information, 6 error
/// \param tag       who logs; the library's is "CI_API"
/// \param format    as printf's
extern "C" int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
