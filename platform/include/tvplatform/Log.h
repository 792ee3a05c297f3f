#pragma once

#include <tvplatform/Export.h>

/// The platform's log service. The portable implementation writes where TVPLATFORM_LOG says when the first line comes:
/// off (also when unset), stderr, syslog, journal or file:PATH, each optionally followed by the least priority that is
/// written: :debug, :info or :error. Thread-safe. Does not block longer than the chosen destination does.
/// \param[in] log_id    the buffer: 0 main, 2 system
/// \param[in] priority  3 debug, 4 information, 6 error
/// \param[in] tag       who logs; not null
/// \param[in] format    printf format for the arguments behind it; not null
/// \return the number of bytes written, 0 when the line was filtered out, negative on failure
extern "C" TVPLATFORM_EXPORT int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
