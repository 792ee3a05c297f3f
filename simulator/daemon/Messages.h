#pragma once

#include "simulator/definition/SignalData.h"

#include "bus/Arguments.h"
#include "bus/Handles.h"

#include <new>
#include <string>
#include <vector>

// Calls, replies and signals as messages of the bus.

namespace CIM::sim
{
/// Owns a message that libdbus has made. \throws std::bad_alloc when it has not
inline TCMessagePtr Checked(DBusMessage* message)
{
    return message != nullptr ? TCMessagePtr(message) : throw std::bad_alloc();
}

/// A method call as it came. The envelope refers to the message; its payload is what both the stated length and the
/// bytes allow.
struct TSCall
{
    std::string sender;    ///< the caller's unique bus name
    std::string interface; ///< the interface called, or without one the name called
    bool isOneWay = false; ///< nobody waits for a reply
    protocol::SCallEnvelope envelope;
};

/// Reads a call.
/// \throws std::runtime_error that says why it is no call of this protocol
TSCall DecodeCall(DBusMessage* message);

/// A reply with arguments as dbus_message_append_args takes them.
template <class... Arguments>
TCMessagePtr MakeReplyWith(DBusMessage* call, Arguments... arguments)
{
    TCMessagePtr reply = Checked(dbus_message_new_method_return(call));
    if (!dbus_message_append_args(reply.get(), arguments..., DBUS_TYPE_INVALID))
    {
        throw std::bad_alloc();
    }
    return reply;
}
TCMessagePtr MakeReply(DBusMessage* call, const protocol::SReplyEnvelope& envelope);
TCMessagePtr MakeError(DBusMessage* call, const std::string& name, const std::string& text);

inline constexpr const char* SIGNAL_MEMBER = protocol::SIGNAL_KINDS[IPC_MESSAGE_SIGNAL].member;

/// A signal of the daemon without arguments.
TCMessagePtr MakeEmptySignal(const char* member);
TCMessagePtr MakeSignal(const TSSignal& signal);
inline protocol::SSignalPayload PayloadOf(const TSSignal& signal)
{
    return {signal.data, signal.profile, signal.handle, 0};
}

/// An argument of an envelope, for people and for introspection.
struct TSArgument
{
    const char* name;
    std::string type; ///< D-Bus signature
    bool isLeftOutWhenEmpty;
};

/// The arguments that an envelope has, in order.
template <class Envelope>
std::vector<TSArgument> ArgumentsOf(const Envelope& envelope)
{
    std::vector<TSArgument> arguments;
    const auto add = [&]<class Row>(const Row&)
    {
        constexpr bool isLeftOutWhenEmpty = Row::PRESENCE == protocol::EPresence::UNLESS_EMPTY;
        if (isLeftOutWhenEmpty || Row::IsIn(envelope))
        {
            const int type = DBusTypeOf<std::remove_cvref_t<decltype(envelope.*Row::FIELD)>>();
            arguments.push_back({protocol::NameOf<Row::FIELD>(),
                                 type == DBUS_TYPE_ARRAY ? "ay" : std::string(1, static_cast<char>(type)),
                                 isLeftOutWhenEmpty});
        }
    };
    std::apply([&](const auto&... row) { (add(row), ...); }, protocol::TEnvelopeArguments<Envelope>::ROWS);
    return arguments;
}
} // namespace CIM::sim
