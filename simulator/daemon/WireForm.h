#pragma once

#include "BusHandles.h"
#include "simulator/model/SignalData.h"

#include <cstdint>
#include <span>
#include <string>

// How calls, replies and signals look on the bus.

namespace CIM::sim
{
inline constexpr const char* CALL_OBJECT = "/com/kelvora/Object";
inline constexpr const char* CALL_MEMBER = "MethodCall";

/// A method call as it came. The payload refers to the message.
struct TSCall
{
    std::string sender;    ///< the caller's unique bus name
    std::string interface; ///< the interface called, or without one the name called
    short methodId = 0;
    bool isOneWay = false; ///< nobody waits for a reply
    bool saysHello = false;
    int processId = 0;
    std::string program; ///< only with the hello
    std::span<const unsigned char> payload;
};

/// Reads a call. A stated length never leads past the bytes that came: the smaller of both counts.
/// \param[out] error  why it is no call of this protocol
bool DecodeCall(DBusMessage* message, TSCall& call, std::string& error);

/// Bits of a reply's status.
inline constexpr unsigned char STATUS_HANDLED = 0x01;
inline constexpr unsigned char STATUS_HELLO_WANTED = 0x80;

TMessage MakeReply(DBusMessage* call, unsigned char status, std::span<const unsigned char> payload);
/// With a length that need not be true.
TMessage MakeReply(DBusMessage* call, unsigned char status, int statedLength, std::span<const unsigned char> payload);
TMessage MakeError(DBusMessage* call, const std::string& name, const std::string& text);
TMessage MakeSignal(const TSSignal& signal);

/// What match rules compare as the handle of a signal.
inline std::uint32_t HandleValue(EProfile profile, unsigned short handle)
{
    return (static_cast<std::uint32_t>(profile) << 16) | handle;
}
/// A signal's payload.
struct TSSignalPayload
{
    TSSignalData data;
    std::int32_t profile = 0;
    std::uint16_t handle = 0;
    std::uint16_t filler = 0;
};
static_assert(sizeof(TSSignalPayload) == 16, "the payload of a signal is sixteen bytes");
inline TSSignalPayload PayloadOf(const TSSignal& signal) { return {signal.data, signal.profile, signal.handle, 0}; }
} // namespace CIM::sim
