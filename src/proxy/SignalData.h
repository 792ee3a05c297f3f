#pragma once

#include "proxy/SignalKey.h"

#include <tvplatform/MessageBuffer.h>

#include <optional>
#include <string>

namespace CIM
{
/// One CI signal, decoded.
struct SignalData
{
    TSSignalData data;
    TVSHandle handle;
    ECISignalType signalType;
    TSSignalKey key;
};

/// Decodes the payload of a CI signal: 8 bytes of data, the profile (4), the handle number (2), 2 filler bytes; what
/// follows is ignored.
/// \param[in] signalType  the number that came with the payload
/// \return nothing, after an error line, when the payload is too short
std::optional<SignalData> ParseSignal(int signalType, TCMessageBuffer& payload);

/// A pipeline handle for log lines.
std::string ToString(const TVSHandle& handle);
} // namespace CIM
