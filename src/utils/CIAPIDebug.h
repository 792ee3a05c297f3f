#pragma once

#include <ciapi/CIDiagnostics.h>

namespace CIM
{
/// Records in the log and on the system console what should have held, then ends the process with a segmentation fault,
/// for the platform's crash handler to take a dump. Thread-safe.
/// \param[in] expression  the condition that failed
/// \param[in] file, line  where it was checked
[[noreturn]] void _TCCIAPIAssert(const char* expression, const char* file, unsigned long line);
/// The same, behind a message to standard error.
[[noreturn]] void _TCCIAPIAssert(const char* expression, const char* file, unsigned long line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
} // namespace CIM

/// Ends the process when a condition does not hold, in every kind of build. A printf format and its arguments may
/// follow.
#define CIM_ASSERT(condition, ...)                                                                                     \
    ((condition) ? static_cast<void>(0)                                                                                \
                 : ::CIM::_TCCIAPIAssert(#condition, __FILE__, __LINE__ __VA_OPT__(, ) __VA_ARGS__))
