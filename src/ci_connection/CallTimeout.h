#pragma once

#include <chrono>

namespace CIM
{
/// How long a call waits for its reply: what libdbus itself grants by default, 25 seconds, or as many milliseconds as
/// the environment variable CIAPI_CALL_TIMEOUT_MS says, for desks and tests.
/// \return always positive; an error line when the variable holds anything but 1 to 2147483647
std::chrono::milliseconds CallTimeout();
} // namespace CIM
