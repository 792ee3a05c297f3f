#include "Messages.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <stdexcept>

namespace CIM::sim
{
namespace
{
template <class Envelope>
TCMessagePtr Filled(TCMessagePtr message, const Envelope& envelope)
{
    return AppendArguments(message.get(), envelope) ? std::move(message) : throw std::bad_alloc();
}

/// What a call should have carried, and what it does.
std::string WrongArguments(const protocol::SCallEnvelope& envelope, DBusMessage* message)
{
    std::string text = "a call carries ";
    for (const TSArgument& argument : ArgumentsOf(envelope))
    {
        text += '"' + argument.type + "\" " + argument.name +
                (argument.isLeftOutWhenEmpty ? " (unless it is empty), " : ", ");
    }
    return text + "not \"" + dbus_message_get_signature(message) + '"';
}
} // namespace

TSCall DecodeCall(DBusMessage* message)
{
    TSCall call;
    const auto text = [](const char* value) { return value != nullptr ? std::string(value) : std::string(); };
    const char* const interface = dbus_message_get_interface(message);
    call.sender = text(dbus_message_get_sender(message));
    call.interface = text(interface != nullptr ? interface : dbus_message_get_destination(message));
    call.isOneWay = dbus_message_get_no_reply(message);

    protocol::SCallEnvelope envelope;
    const auto read = ReadArguments(message, envelope);
    if (!read.IsWhole() || read.hasMore)
    {
        throw std::runtime_error(WrongArguments(envelope, message));
    }
    call.isOneWay = call.isOneWay || (protocol::FlagsOf(envelope.header) & protocol::CALL_FLAG_ONE_WAY) != 0;
    envelope.payload.length = std::clamp(envelope.length, 0, envelope.payload.length);
    call.envelope = envelope;
    return call;
}

TCMessagePtr MakeReply(DBusMessage* call, const protocol::SReplyEnvelope& envelope)
{
    return Filled(MakeReplyWith(call), envelope);
}

TCMessagePtr MakeError(DBusMessage* call, const std::string& name, const std::string& text)
{
    return Checked(dbus_message_new_error(call, name.c_str(), text.c_str()));
}

TCMessagePtr MakeEmptySignal(const char* member)
{
    return Checked(dbus_message_new_signal(CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(),
                                           CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), member));
}

TCMessagePtr MakeSignal(const TSSignal& signal)
{
    const std::string identifier = std::to_string(static_cast<int>(signal.type));
    const std::string handle = std::to_string(protocol::HandleValue(signal.profile, signal.handle));
    const protocol::SSignalPayload payload = PayloadOf(signal);
    protocol::SSignalEnvelope envelope;
    envelope.identifier = identifier.c_str();
    envelope.handle = handle.c_str();
    envelope.length = sizeof payload;
    envelope.payload = {reinterpret_cast<const char*>(&payload), sizeof payload};
    return Filled(MakeEmptySignal(SIGNAL_MEMBER), envelope);
}
} // namespace CIM::sim
