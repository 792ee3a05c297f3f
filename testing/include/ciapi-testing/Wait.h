#pragma once

#include <ciapi-testing/Export.h>

#include <chrono>
#include <functional>

namespace CIM::test
{
/// Waits until a condition holds, and meanwhile runs the default GLib main context, on which signals are delivered,
/// unless another thread runs it already. The condition is looked at after whatever happens there, after each call that
/// the daemon receives, and every few milliseconds. Thread-safe; not for use inside an answer.
/// \return whether it holds in the end
CIAPI_TESTING_EXPORT bool RunUntil(const std::function<bool()>& condition,
                                   std::chrono::milliseconds timeout = std::chrono::seconds(5));
} // namespace CIM::test
