#pragma once

#include <string>

namespace CIM::sim
{
/// Tells the service manager that started this process, if one did and wants to hear it (NOTIFY_SOCKET), how the service
/// is. What cannot be told costs a line on standard error.
/// \param[in] state  as sd_notify(3) takes it, such as "READY=1"
void TellServiceManager(const std::string& state);
} // namespace CIM::sim
