#include "ci_connection/CallTimeout.h"

#include "utils/CIAPILog.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace CIM
{
std::chrono::milliseconds CallTimeout()
{
    constexpr std::chrono::seconds DEFAULT{25};
    const char* const text = secure_getenv("CIAPI_CALL_TIMEOUT_MS");
    if (text == nullptr)
    {
        return DEFAULT;
    }
    int milliseconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, milliseconds);
    if (error != std::errc() || rest != end || milliseconds < 1)
    {
        CIM_LOG_ERROR("CIAPI_CALL_TIMEOUT_MS is not a number of milliseconds: %s", text);
        return DEFAULT;
    }
    return std::chrono::milliseconds(milliseconds);
}
} // namespace CIM
