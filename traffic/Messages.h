#pragma once

#include "protocol/SignalData.h"
#include "recording/MessageHead.h"
#include "json/OperationForm.h"

#include <dbus/dbus.h>

#include <optional>
#include <string>
#include <string_view>

// What the messages between applications and the CI daemon say. They may be anybody's: what is wrong with one is told, and
// what can be read of it is there all the same. Views belong to the message. All functions are reentrant.

namespace CIM::traffic
{
/// Where the marks of people go, which stand among the traffic: signals with a text.
inline constexpr const char* MARK_PATH = "/com/kelvora/cictl";
inline constexpr const char* MARK_INTERFACE = "com.kelvora.cictl";
inline constexpr const char* MARK_MEMBER = "Mark";

/// The CI daemon's interface that a call is for; null: it is none of them.
const json::TCInterfaceForm* InterfaceOfCall(DBusMessage* call);
const json::TCInterfaceForm* InterfaceOfCall(const recording::TSMessageHead& call);

struct TSCall
{
    const json::TCInterfaceForm* interface = nullptr;
    const json::TCOperationForm* operation = nullptr; ///< null when the interface has none of that identifier
    std::string name;              ///< "ICIGeneral.EnterMenu"; with a number or a '?' for what nobody knows
    short methodId = 0;            ///< 0 when the call has none
    bool isForeign = false;        ///< of another member or object than the daemon's calls: only error says more
    bool isOneWay = false;         ///< as the call says itself; that the bus is told so, too, is another matter
    int processId = 0;             ///< as the caller states it
    const char* program = nullptr; ///< likewise; null: not stated
    std::string_view payload;
    std::string error; ///< what is wrong with the envelope; empty: nothing
};
/// \return nothing when the call is for nobody's interface here
std::optional<TSCall> ReadCall(DBusMessage* message);

struct TSReply
{
    std::uint8_t status = 0;
    std::string_view payload;
    std::string errorName; ///< of an error reply, which has nothing of the above; else empty
    std::string errorText;
    std::string error; ///< what is wrong with the envelope; empty: nothing
};
TSReply ReadReply(DBusMessage* message);

struct TSSignal
{
    std::optional<protocol::SSignal> signal; ///< nothing when its type or its data cannot be read
    std::string type;                        ///< as it was sent
    std::string bytes;                       ///< of its data, as far as they are there, in hexadecimal digits
    std::string error;                       ///< what is wrong with it; empty: nothing
};
TSSignal ReadSignal(DBusMessage* message);
bool IsSignal(DBusMessage* message);

/// The text of a mark. \return nothing when the message is none
std::optional<std::string> ReadMark(DBusMessage* message);
} // namespace CIM::traffic
