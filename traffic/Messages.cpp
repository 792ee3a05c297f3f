#include "Messages.h"

#include "bus/Arguments.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>

namespace CIM::traffic
{
using protocol::SCallEnvelope;
using protocol::SReplyEnvelope;
using protocol::SSignalEnvelope;

namespace
{
std::string Text(const char* text) { return text != nullptr ? text : ""; }

std::string_view View(const protocol::SBytes& bytes) { return {bytes.data, static_cast<std::size_t>(bytes.length)}; }

void Add(std::string& errors, const std::string& error) { errors += (errors.empty() ? "" : "; ") + error; }

std::string WrongWith(const SCallEnvelope& call, const TArgumentsRead<SCallEnvelope>& read)
{
    if (call.payload.length != std::max(call.length, 0))
    {
        return std::to_string(call.payload.length) + " bytes, but a length of " + std::to_string(call.length);
    }
    const bool hasHeader = !read.IsWrong<&SCallEnvelope::header>() && !read.IsWrong<&SCallEnvelope::length>() &&
                           !read.IsWrong<&SCallEnvelope::processId>();
    return hasHeader ? "" : "the header is incomplete";
}

/// The kind of a signal, by its member. What nobody knows is read as the commonest.
EIPCMessageType KindOf(DBusMessage* message)
{
    for (std::size_t type = 0; type < protocol::SIGNAL_KINDS.size(); ++type)
    {
        if (dbus_message_has_member(message, protocol::SIGNAL_KINDS[type].member))
        {
            return static_cast<EIPCMessageType>(type);
        }
    }
    return IPC_MESSAGE_SIGNAL;
}

std::optional<ECISignalType> SignalType(std::string_view identifier)
{
    int number = 0;
    const char* const end = identifier.data() + identifier.size();
    const auto [behind, bad] = std::from_chars(identifier.data(), end, number);
    return bad == std::errc() && behind == end ? std::optional(static_cast<ECISignalType>(number)) : std::nullopt;
}

/// \param[in] name  the interface called; it may be left out: the bus name says it, too
const json::TCInterfaceForm* ByBusName(std::string_view name)
{
    static const std::map<std::string_view, const json::TCInterfaceForm*> interfaces = []
    {
        std::map<std::string_view, const json::TCInterfaceForm*> all;
        for (const json::TCInterfaceForm& interface : json::Interfaces())
        {
            all.emplace(interface.ConnectionName(), &interface);
        }
        return all;
    }();
    const auto found = interfaces.find(name);
    return found != interfaces.end() ? found->second : nullptr;
}

/// The one argument of an error or a mark.
std::string FirstText(DBusMessage* message)
{
    const char* text = nullptr;
    dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    return Text(text);
}
} // namespace

const json::TCInterfaceForm* InterfaceOfCall(DBusMessage* call)
{
    const char* const called = dbus_message_get_interface(call);
    return ByBusName(Text(called != nullptr ? called : dbus_message_get_destination(call)));
}

const json::TCInterfaceForm* InterfaceOfCall(const recording::TSMessageHead& call)
{
    return ByBusName(call.interface.empty() ? call.destination : call.interface);
}

std::optional<TSCall> ReadCall(DBusMessage* message)
{
    TSCall call;
    call.interface = InterfaceOfCall(message);
    if (call.interface == nullptr)
    {
        return std::nullopt;
    }
    const std::string& interface = call.interface->Name();
    if (!dbus_message_has_member(message, protocol::CALL_MEMBER) ||
        !dbus_message_has_path(message, protocol::CALL_OBJECT_PATH))
    {
        constexpr std::size_t MOST_PATH_BYTES = 255; // it may have megabytes, and names are kept
        call.isForeign = true;
        call.name = interface + " " + Text(dbus_message_get_path(message)).substr(0, MOST_PATH_BYTES) + " " +
                    Text(dbus_message_get_member(message));
        call.error = std::string("this is none of the CI daemon's calls, which go to ") + protocol::CALL_MEMBER +
                     " of " + protocol::CALL_OBJECT_PATH;
        return call;
    }
    SCallEnvelope envelope;
    const auto read = ReadArguments(message, envelope);
    const bool hasId = !read.isEmpty && !read.IsWrong<&SCallEnvelope::header>();
    call.methodId = hasId ? protocol::MethodIdOf(envelope.header) : short{0};
    call.operation = hasId ? call.interface->Find(call.methodId) : nullptr;
    call.name = call.operation != nullptr ? call.operation->FullName()
                                          : interface + "." + (hasId ? std::to_string(call.methodId) : "?");
    call.isOneWay = (protocol::FlagsOf(envelope.header) & protocol::CALL_FLAG_ONE_WAY) != 0;
    call.processId = envelope.processId;
    call.program = envelope.program;
    call.payload = View(envelope.payload);
    call.error = WrongWith(envelope, read);
    return call;
}

TSReply ReadReply(DBusMessage* message)
{
    TSReply reply;
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_ERROR)
    {
        reply.errorName = Text(dbus_message_get_error_name(message));
        reply.errorText = FirstText(message);
        return reply;
    }
    SReplyEnvelope envelope;
    const auto read = ReadArguments(message, envelope);
    reply.error = read.IsWhole() ? "" : "the reply is incomplete";
    reply.status = envelope.status;
    reply.payload = View(envelope.payload);
    return reply;
}

bool IsSignal(DBusMessage* message)
{
    return dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_SIGNAL &&
           dbus_message_has_interface(message, CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str());
}

TSSignal ReadSignal(DBusMessage* message)
{
    SSignalEnvelope envelope;
    envelope.type = KindOf(message);
    const auto read = ReadArguments(message, envelope);
    const std::string_view payload = View(envelope.payload);
    TSSignal signal;
    signal.type = Text(envelope.identifier);
    // Behind the data the payload repeats the pipeline.
    const std::size_t size = std::min(payload.size(), sizeof(TSSignalData));
    signal.bytes = json::BytesToHex({reinterpret_cast<const unsigned char*>(payload.data()), size});
    const std::optional<ECISignalType> type = SignalType(signal.type);
    signal.error = read.IsWhole() ? "" : "the signal is incomplete";
    if (payload.size() < sizeof(protocol::SSignalPayload))
    {
        Add(signal.error, "its payload has " + std::to_string(payload.size()) + " bytes, not " +
                              std::to_string(sizeof(protocol::SSignalPayload)));
        return signal;
    }
    if (!type)
    {
        Add(signal.error, "its type is no number: " + json::Dump(signal.type));
        return signal;
    }
    protocol::SSignalPayload content;
    std::memcpy(&content, payload.data(), sizeof content);
    signal.signal = {*type, static_cast<EProfile>(content.profile), content.handle, content.data};
    const std::string pipeline = std::to_string(protocol::HandleValue(signal.signal->profile, content.handle));
    if (envelope.handle != nullptr && envelope.handle != pipeline)
    {
        Add(signal.error,
            "it is sent for the pipeline " + json::Dump(Text(envelope.handle)) + ", but is about " + pipeline);
    }
    return signal;
}

std::optional<std::string> ReadMark(DBusMessage* message)
{
    return dbus_message_is_signal(message, MARK_INTERFACE, MARK_MEMBER) ? std::optional(FirstText(message))
                                                                        : std::nullopt;
}
} // namespace CIM::traffic
