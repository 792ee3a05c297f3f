#include "WireForm.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <new>

namespace CIM::sim
{
namespace
{
TMessage Checked(DBusMessage* message)
{
    if (message == nullptr)
    {
        throw std::bad_alloc();
    }
    return TMessage(message);
}

constexpr unsigned FLAG_ONE_WAY = 1;
constexpr unsigned FLAG_HELLO = 2;
} // namespace

bool DecodeCall(DBusMessage* message, TSCall& call, std::string& error)
{
    const auto text = [](const char* value) { return value != nullptr ? std::string(value) : std::string(); };
    call.sender = text(dbus_message_get_sender(message));
    call.interface = text(dbus_message_get_interface(message) != nullptr ? dbus_message_get_interface(message)
                                                                         : dbus_message_get_destination(message));
    call.isOneWay = dbus_message_get_no_reply(message);

    const std::string signature = dbus_message_get_signature(message);
    if (signature.substr(0, 3) != "iii")
    {
        error = "a call begins with INT32 header, INT32 length and INT32 process id, not with \"" + signature + '"';
        return false;
    }
    DBusMessageIter argument;
    dbus_message_iter_init(message, &argument);
    dbus_int32_t numbers[3];
    for (dbus_int32_t& number : numbers)
    {
        dbus_message_iter_get_basic(&argument, &number);
        dbus_message_iter_next(&argument);
    }
    const auto header = static_cast<dbus_uint32_t>(numbers[0]);
    call.methodId = static_cast<short>(header & 0xFFFF);
    call.isOneWay = call.isOneWay || ((header >> 16) & FLAG_ONE_WAY) != 0;
    call.saysHello = ((header >> 16) & FLAG_HELLO) != 0;
    call.processId = numbers[2];

    const std::string expected = std::string("iii") + (call.saysHello ? "s" : "");
    if (signature != expected && signature != expected + "ay")
    {
        error = "the arguments must be \"" + expected + "\" or \"" + expected + "ay\", not \"" + signature + '"';
        return false;
    }
    if (call.saysHello)
    {
        const char* program = nullptr;
        dbus_message_iter_get_basic(&argument, &program);
        call.program = program;
        dbus_message_iter_next(&argument);
    }
    call.payload = {};
    if (dbus_message_iter_get_arg_type(&argument) == DBUS_TYPE_ARRAY)
    {
        DBusMessageIter bytes;
        dbus_message_iter_recurse(&argument, &bytes);
        const unsigned char* first = nullptr;
        int count = 0;
        dbus_message_iter_get_fixed_array(&bytes, &first, &count);
        call.payload = {first, static_cast<std::size_t>(std::clamp(numbers[1], 0, count))};
    }
    return true;
}

TMessage MakeReply(DBusMessage* call, unsigned char status, std::span<const unsigned char> payload)
{
    return MakeReply(call, status, static_cast<int>(payload.size()), payload);
}

TMessage MakeReply(DBusMessage* call, unsigned char status, int statedLength, std::span<const unsigned char> payload)
{
    TMessage reply = Checked(dbus_message_new_method_return(call));
    const dbus_int32_t length = statedLength;
    const unsigned char* const bytes = payload.data();
    if (!dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY,
                                  DBUS_TYPE_BYTE, &bytes, static_cast<int>(payload.size()), DBUS_TYPE_INVALID))
    {
        throw std::bad_alloc();
    }
    return reply;
}

TMessage MakeError(DBusMessage* call, const std::string& name, const std::string& text)
{
    return Checked(dbus_message_new_error(call, name.c_str(), text.c_str()));
}

TMessage MakeSignal(const TSSignal& signal)
{
    TMessage message = Checked(dbus_message_new_signal(CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(),
                                                       CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), "Signal"));
    const std::string identifier = std::to_string(static_cast<int>(signal.type));
    const std::string handle = std::to_string(HandleValue(signal.profile, signal.handle));
    const TSSignalPayload payload = PayloadOf(signal);
    const char* const identifierText = identifier.c_str();
    const char* const handleText = handle.c_str();
    const dbus_int32_t length = sizeof payload;
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&payload);
    if (!dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &identifierText, DBUS_TYPE_STRING, &handleText,
                                  DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes,
                                  static_cast<int>(sizeof payload), DBUS_TYPE_INVALID))
    {
        throw std::bad_alloc();
    }
    return message;
}
} // namespace CIM::sim
