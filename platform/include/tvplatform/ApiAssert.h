#pragma once

#include <tvplatform/Export.h>

/// Reports a state that must not happen. A program may define this function itself to stop instead.
/// The portable one writes an error line to the log and returns. Thread-safe.
/// \param[in] expression  what should have held
/// \param[in] file, line  where it was checked
/// \param[in] message     more about it; may be null
TVPLATFORM_EXPORT void _TCApiAssert(const char* expression, const char* file, int line, const char* message);
