#pragma once

#include <ciapi/CIDiagnostics.h>

#include <tvplatform/Log.h>

// The library's three kinds of log line. A format is a literal that continues the prefix; an error line is written
// twice, so its arguments are evaluated twice: pass values that cost nothing and change nothing.

#define CIM_LOG_TAG "CI_API"

/// A normal line: main buffer, information.
#define CIM_LOG_INFO(format, ...) CIM_LOG_INFO_AT(__func__, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)
#define CIM_LOG_INFO_AT(function, line, format, ...)                                                                   \
    ::__dlog_print(0, 4, CIM_LOG_TAG, "%s: %s(%d) > [%ld][%s] " format, __FILE_NAME__, function, line,                 \
                   ::CIM::GetPid(), ::CIM::GetProgName() __VA_OPT__(, ) __VA_ARGS__)

/// An error line: system buffer, written at priority information and again at priority debug.
#define CIM_LOG_ERROR(format, ...) CIM_LOG_ERROR_AT(__func__, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)
#define CIM_LOG_ERROR_AT(function, line, format, ...)                                                                  \
    do                                                                                                                 \
    {                                                                                                                  \
        CIM_LOG_ERROR_ONCE(4, function, line, format __VA_OPT__(, ) __VA_ARGS__);                                      \
        CIM_LOG_ERROR_ONCE(3, function, line, format __VA_OPT__(, ) __VA_ARGS__);                                      \
    } while (false)
#define CIM_LOG_ERROR_ONCE(priority, function, line, format, ...)                                                      \
    ::__dlog_print(2, priority, CIM_LOG_TAG, "%s: %s(%d) > [CIM_MAJOR] pid[%ld] prog[%s] " format, __FILE_NAME__,      \
                   function, line, ::CIM::GetPid(), ::CIM::GetProgName() __VA_OPT__(, ) __VA_ARGS__)

/// An assertion line: main buffer, error.
#define CIM_LOG_ASSERTION_AT(function, line, format, ...)                                                              \
    ::__dlog_print(0, 6, CIM_LOG_TAG, "%s: %s(%d) > " format, __FILE_NAME__, function, line __VA_OPT__(, ) __VA_ARGS__)
