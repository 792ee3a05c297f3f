#include "proxy/SignalData.h"

#include "protocol/Envelope.h"
#include "utils/CIAPILog.h"

#include <cstddef>
#include <cstring>

namespace CIM
{
std::optional<SignalData> ParseSignal(int signalType, TCMessageBuffer& payload)
{
    const std::size_t size = payload.GetUnreadSize();
    if (size < sizeof(protocol::SSignalPayload))
    {
        CIM_LOG_ERROR("Received signal data length is invalid: %lu", static_cast<unsigned long>(size));
        return std::nullopt;
    }
    const char* const bytes = payload.GetAsCStr(0);
    if (bytes == nullptr || payload.GetAsCStr(offsetof(protocol::SSignalPayload, profile)) == nullptr)
    {
        return std::nullopt;
    }
    protocol::SSignalPayload read;
    std::memcpy(&read, bytes, sizeof(read));
    SignalData signal;
    signal.data = read.data;
    signal.handle = TVSHandle(static_cast<EProfile>(read.profile), read.handle);
    signal.signalType = static_cast<ECISignalType>(signalType);
    signal.key = {signal.signalType, signal.handle.profile, signal.handle.handle};
    return signal;
}

std::string ToString(const TVSHandle& handle)
{
    return "profile[" + std::to_string(handle.profile) + "] handle[" + std::to_string(handle.handle) + "]";
}
} // namespace CIM
