#pragma once

#include "bus/Handles.h"

#include <string>
#include <vector>

namespace CIM::traffic
{
/// Asks the bus to make the connection that sends this a monitor of all that concerns the CI daemon.
/// \param[in] more  match rules beside these
/// \return null: no memory
TCMessagePtr MakeMonitorRequest(const std::vector<std::string>& more = {});
} // namespace CIM::traffic
