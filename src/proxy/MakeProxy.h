#pragma once

#include <boost/shared_ptr.hpp>

#include <memory>

namespace CIM
{
class TIIPCHelper;

/// An interface over the bus. Blocks until the daemon offers it, at the longest as long as the connection waits.
/// Each function stands beside its class.
template <class Interface>
std::unique_ptr<Interface> MakeProxy(boost::shared_ptr<TIIPCHelper> helper);
} // namespace CIM
