#pragma once

#include <boost/shared_ptr.hpp>

#include <chrono>
#include <memory>

namespace CIM
{
class ICISignalSubscriber;
class TIIPCHelper;

/// An interface over the bus. Blocks until the daemon offers it, at the longest as long as the connection waits.
/// Each function stands beside its class.
template <class Interface>
__attribute__((visibility("hidden"))) std::unique_ptr<Interface> MakeProxy(boost::shared_ptr<TIIPCHelper> helper);

/// Ends the subscriptions of a process that exits; other threads may still use the object. Does nothing to a null
/// implementation.
/// \param[in] patience  how long to wait for what other threads are doing with it
void EndSubscriptions(ICISignalSubscriber& subscriber, std::chrono::milliseconds patience);
} // namespace CIM
