#pragma once

#include <memory>

namespace CIM
{
/// An interface as it is on a set without CI. Each function stands beside its class.
template <class Interface>
__attribute__((visibility("hidden"))) std::unique_ptr<Interface> MakeNull();
} // namespace CIM
