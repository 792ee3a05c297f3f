#include "proxy/SignalData.h"

#include "utils/CIAPILog.h"

#include <cstdint>
#include <cstring>

namespace CIM
{
namespace
{
constexpr unsigned PROFILE_OFFSET = 8;
constexpr unsigned HANDLE_OFFSET = 12;
constexpr std::size_t SIGNAL_SIZE = 16;
} // namespace

boost::optional<SignalData> ParseSignal(int signalType, TCMessageBuffer& payload)
{
    const std::size_t size = payload.GetUnreadSize();
    if (size < SIGNAL_SIZE)
    {
        CIM_LOG_ERROR("Received signal data length is invalid: %lu", static_cast<unsigned long>(size));
        return boost::none;
    }
    const char* bytes = payload.GetAsCStr(0);
    if (bytes == nullptr || payload.GetAsCStr(PROFILE_OFFSET) == nullptr)
    {
        return boost::none;
    }
    SignalData signal;
    std::int32_t profile;
    std::uint16_t number;
    std::memcpy(&signal.data, bytes, sizeof(signal.data));
    std::memcpy(&profile, bytes + PROFILE_OFFSET, sizeof(profile));
    std::memcpy(&number, bytes + HANDLE_OFFSET, sizeof(number));
    signal.handle = TVSHandle(static_cast<EProfile>(profile), number);
    signal.signalType = static_cast<ECISignalType>(signalType);
    signal.key = {signal.signalType, signal.handle.profile, signal.handle.handle};
    return signal;
}

std::string ToString(const TVSHandle& handle)
{
    return "profile[" + std::to_string(handle.profile) + "] handle[" + std::to_string(handle.handle) + "]";
}
} // namespace CIM
