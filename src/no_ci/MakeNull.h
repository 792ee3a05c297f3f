#pragma once

#include <memory>

namespace CIM
{
/// An interface as it is on a set without CI. Each function stands beside its class.
template <class Interface>
std::unique_ptr<Interface> MakeNull();
} // namespace CIM
