#pragma once

#include <tvplatform/Export.h>

/// The platform's log service. The portable implementation writes where TVPLATFORM_LOG says when the first line comes:
/// off (also when unset), stderr, syslog, journal or file:PATH, each optionally followed by the least priority that is
/// written: :debug, :info or :error. Of lines with the same text, buffer, priority and tag it writes the first 20 of 5
/// seconds and then, with the next line of any kind once these are over, or at the end of the process, how many more
/// there were; TVPLATFORM_LOG_LIMIT says otherwise: LINES, LINES/SECONDS, or off. A file that takes no more lines is
/// told once on standard error. Thread-safe. Does not block longer than the chosen destination does.
/// \param[in] log_id    the buffer: 0 main, 2 system
/// \param[in] priority  3 debug, 4 information, 6 error
/// \param[in] tag       who logs; not null
/// \param[in] format    printf format for the arguments behind it; not null
/// \return the number of bytes written, 0 when the line was filtered out or left out, negative on failure
extern "C" TVPLATFORM_EXPORT int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
