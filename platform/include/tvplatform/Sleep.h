#pragma once

#include <tvplatform/Export.h>

/// Blocks the calling thread for a time. Every retry of the libraries above waits through this one function, so that
/// a program that defines it itself decides how long 30 retries take.
extern "C" TVPLATFORM_EXPORT void tvplatform_sleep_ms(unsigned int milliseconds);
