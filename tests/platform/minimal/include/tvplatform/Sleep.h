#pragma once

/// Blocks the calling thread for a time, not shorter. Every retry of the library waits through it. Thread-safe.
extern "C" void tvplatform_sleep_ms(unsigned int milliseconds);
