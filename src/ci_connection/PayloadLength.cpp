#include "ci_connection/PayloadLength.h"

#include "utils/CIAPILog.h"

#include <algorithm>

namespace CIM
{
std::size_t CheckedLength(const char* operation, int statedLength, int arrayLength)
{
    if (statedLength != arrayLength)
    {
        CIM_LOG_ERROR_AT(operation, __LINE__,
                         "[TCCIMIPCConnection::%s] Payload length %d does not match the %d bytes received", operation,
                         statedLength, arrayLength);
    }
    return static_cast<std::size_t>(std::clamp(statedLength, 0, arrayLength));
}
} // namespace CIM
