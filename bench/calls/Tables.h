#pragma once

#include "calls/Measuring.h"

// Each prints one table. None leaves a thread behind: the next one starts processes.

namespace CIM::bench
{
void PrintCalls(const TSOptions& options);
void PrintThreads(const TSOptions& options);
void PrintSignals(const TSOptions& options);
void PrintMemory(const TSOptions& options);
} // namespace CIM::bench
