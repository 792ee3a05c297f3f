#pragma once

#include "Types.h"

#include <ciapi/ICISignalSubscriber.h>

#include <optional>

// Signals on their way to Python. The library's callback only puts them into a queue: it holds locks of the library, and
// whoever holds those must not wait for the interpreter's. A thread of Python's takes them out.

namespace CIM::python
{
/// The facade's instance, with our callback.
ICISignalSubscriber* SubscriberInstance();

/// Starts the thread that runs the default main context, unless there is one.
/// How many signals were dropped because too many waited for callbacks.
std::uint64_t SignalsNotTaken();
void StartLoop();
/// Ends it, and waits for it.
void StopLoop();

/// \return (what the library answered, (outcome, error name, error text))
py::tuple Subscribe(int type, int profile, unsigned short handle);
py::tuple Unsubscribe(int type, int profile, unsigned short handle);

/// Waits for the next signal of a subscription. \return its parts; None when EndSignals was called
py::object NextSignal();
void EndSignals();
/// What a signal says. \return (slot or None, code, id, value, {what it means: number or enumerator}, words)
py::tuple DescribeSignal(int type, int profile, unsigned short handle, const py::bytes& data);
} // namespace CIM::python
