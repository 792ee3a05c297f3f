#pragma once

/// Tells a fault of the program that calls the library. May end the process. Thread-safe.
/// \param expression  what should have held
/// \param message     more about it; may be null
void _TCApiAssert(const char* expression, const char* file, int line, const char* message);
