#include "cictl/Dissector.h"

#include "cictl/Time.h"

#include "bus/Arguments.h"
#include "json/Signals.h"
#include "json/ToJson.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace CIM::cictl
{
using protocol::SCallEnvelope;
using protocol::SReplyEnvelope;
using protocol::SSignalEnvelope;

namespace
{
constexpr std::size_t MOST_OPEN_CALLS = 10'000;

std::string Text(const char* text) { return text ? text : ""; }

std::string_view View(const protocol::SBytes& bytes) { return {bytes.data, static_cast<std::size_t>(bytes.length)}; }

std::string Both(const std::string& first, const std::string& second)
{
    return first + (first.empty() || second.empty() ? "" : "; ") + second;
}

void AddError(TJson& record, const std::string& error)
{
    if (!error.empty())
    {
        record["error"] = error;
    }
}

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

/// The slot that the arguments of a call name.
std::optional<std::int64_t> SlotIn(const TJson& arguments)
{
    const auto slot = arguments.find("slot");
    return slot != arguments.end() && slot->is_number_integer() ? std::optional(slot->get<std::int64_t>())
                                                                : std::nullopt;
}
} // namespace

TCDissector::TSDescribed TCDissector::Describe(DBusMessage* message, const recording::TSMoment& moment)
{
    m_moment = moment;
    TSDescribed described;
    described.moment = moment;
    switch (dbus_message_get_type(message))
    {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        m_DescribeCall(message, described);
        break;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        if (dbus_message_has_interface(message, CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str()))
        {
            m_DescribeSignal(message, described);
        }
        else if (dbus_message_is_signal(message, MARK_INTERFACE, MARK_MEMBER))
        {
            m_DescribeMark(message, described);
        }
        break;
    default:
        m_DescribeReply(message, described);
        break;
    }
    return described;
}

std::map<std::string, std::uint64_t> TCDissector::Unanswered() const
{
    std::map<std::string, std::uint64_t> counts;
    for (const auto& [key, call] : m_calls)
    {
        ++counts[call.name];
    }
    return counts;
}

void TCDissector::m_DescribeCall(DBusMessage* message, TSDescribed& described)
{
    const char* const called = dbus_message_get_interface(message); // may be left out: the name says it, too
    const json::TCInterfaceForm* const interface =
        json::FindInterface(Text(called ? called : dbus_message_get_destination(message)));
    if (!interface)
    {
        return;
    }
    if (!dbus_message_has_member(message, protocol::CALL_MEMBER) ||
        !dbus_message_has_path(message, protocol::CALL_OBJECT_PATH))
    {
        m_DescribeForeignCall(message, *interface, described);
        return;
    }
    SCallEnvelope envelope;
    const auto read = ReadArguments(message, envelope);
    const short id = protocol::MethodIdOf(envelope.header);
    const bool hasId = !read.isEmpty && !read.IsWrong<&SCallEnvelope::header>();
    const json::TCOperationForm* const operation = hasId ? interface->Find(id) : nullptr;
    const std::string nameOfOther = interface->Name() + "." + (hasId ? std::to_string(id) : "?");
    TSCall call{operation, operation ? operation->FullName() : nameOfOther, m_moment};
    TJson& record = described.record;
    record = {
        {"time", TimeText(m_moment.real)}, {"kind", "call"}, {"from", envelope.processId}, {"operation", call.name}};
    if ((protocol::FlagsOf(envelope.header) & protocol::CALL_FLAG_ONE_WAY) != 0)
    {
        record["oneWay"] = true;
    }
    if (envelope.program != nullptr)
    {
        record["program"] = envelope.program;
    }
    std::string error = WrongWith(envelope, read);
    if (operation)
    {
        json::TSDecoded decoded = operation->RequestToJson(View(envelope.payload));
        if (!m_wishes.showSecrets)
        {
            operation->HideSecrets(decoded.json);
            if (json::MayHideSecrets(interface, operation, View(envelope.payload)))
            {
                decoded.json.clear();
            }
        }
        call.slot = SlotIn(decoded.json);
        if (!decoded.json.empty())
        {
            record["arguments"] = std::move(decoded.json);
        }
        error = Both(error, decoded.error);
    }
    AddError(record, error);
    call.isBad = !error.empty();
    described.operation = operation;
    described.slot = call.slot;
    m_AwaitReply(message, std::move(call));
}

void TCDissector::m_DescribeForeignCall(DBusMessage* message, const json::TCInterfaceForm& interface,
                                        TSDescribed& described)
{
    const std::string member = Text(dbus_message_get_member(message));
    const std::string object = Text(dbus_message_get_path(message));
    TSCall call{nullptr, interface.Name() + " " + object + " " + member, m_moment};
    described.record = {{"time", TimeText(m_moment.real)},
                        {"kind", "call"},
                        {"from", Text(dbus_message_get_sender(message))},
                        {"operation", call.name},
                        {"error", std::string("this is none of the CI daemon's calls, which go to ") +
                                      protocol::CALL_MEMBER + " of " + protocol::CALL_OBJECT_PATH}};
    call.isForeign = true;
    call.isBad = true;
    m_AwaitReply(message, std::move(call));
}

void TCDissector::m_AwaitReply(DBusMessage* message, TSCall call)
{
    if (dbus_message_get_no_reply(message))
    {
        return;
    }
    if (m_calls.size() == MOST_OPEN_CALLS)
    {
        m_calls.clear(); // nobody has answered for long
    }
    m_calls[{Text(dbus_message_get_sender(message)), dbus_message_get_serial(message)}] = std::move(call);
}

void TCDissector::m_DescribeReply(DBusMessage* message, TSDescribed& described)
{
    const auto found =
        m_calls.find({Text(dbus_message_get_destination(message)), dbus_message_get_reply_serial(message)});
    if (found == m_calls.end())
    {
        return;
    }
    const TSCall call = found->second;
    m_calls.erase(found);
    const bool isMonotonic = m_moment.monotonic != 0 && call.sent.monotonic != 0;
    const std::int64_t after = isMonotonic ? m_moment.monotonic - call.sent.monotonic : m_moment.real - call.sent.real;
    described.operation = call.operation;
    described.slot = call.slot;
    described.isOfBadCall = call.isBad;
    described.ms = std::round(static_cast<double>(after) / 1000) / 1000;
    TJson& record = described.record;
    record = {{"time", TimeText(m_moment.real)}, {"kind", "reply"}, {"operation", call.name}, {"ms", *described.ms}};
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_ERROR)
    {
        const char* text = nullptr;
        dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        record["error"] = Text(dbus_message_get_error_name(message)) + ": " + Text(text);
        return;
    }
    if (call.isForeign)
    {
        return; // nobody knows what it carries
    }
    SReplyEnvelope envelope;
    const auto read = ReadArguments(message, envelope);
    std::string error = read.IsWhole() ? "" : "the reply is incomplete";
    record["status"] = envelope.status;
    if (call.operation)
    {
        const json::TSDecoded decoded = call.operation->ReplyToJson(View(envelope.payload));
        record.update(decoded.json);
        if (record.contains("outputs") && record["outputs"].empty())
        {
            record.erase("outputs");
        }
        error = Both(error, decoded.error);
    }
    AddError(record, error);
}

TSSignalRead ReadSignal(DBusMessage* message)
{
    SSignalEnvelope envelope;
    envelope.type = KindOf(message);
    const auto read = ReadArguments(message, envelope);
    const std::string_view payload = View(envelope.payload);
    TSSignalRead signal;
    signal.type = Text(envelope.identifier);
    // Behind the data the payload repeats the pipeline.
    const std::size_t size = std::min(payload.size(), sizeof(TSSignalData));
    signal.bytes = json::BytesToHex({reinterpret_cast<const unsigned char*>(payload.data()), size});
    const std::optional<ECISignalType> type = SignalType(signal.type);
    signal.error = read.IsWhole() ? "" : "the signal is incomplete";
    if (payload.size() < sizeof(protocol::SSignalPayload))
    {
        signal.error = Both(signal.error, "its payload has " + std::to_string(payload.size()) + " bytes, not " +
                                              std::to_string(sizeof(protocol::SSignalPayload)));
        return signal;
    }
    if (!type)
    {
        signal.error = Both(signal.error, "its type is no number: " + json::Dump(signal.type));
        return signal;
    }
    protocol::SSignalPayload content;
    std::memcpy(&content, payload.data(), sizeof content);
    signal.signal = {*type, static_cast<EProfile>(content.profile), content.handle, content.data};
    const std::string pipeline = std::to_string(protocol::HandleValue(signal.signal->profile, content.handle));
    if (envelope.handle != nullptr && envelope.handle != pipeline)
    {
        signal.error = Both(signal.error, "it is sent for the pipeline " + json::Dump(Text(envelope.handle)) +
                                              ", but is about " + pipeline);
    }
    return signal;
}

void AddSignal(TJson& record, const protocol::SSignal& signal, bool asJson, bool isRaw)
{
    if (asJson)
    {
        record["type"] = json::ToJson(signal.type);
        record["profile"] = json::ToJson(signal.profile);
        record["handle"] = signal.handle;
        record.update(json::SignalDataToJson(signal));
    }
    else
    {
        record["type"] = json::SignalName(signal.type);
        record["words"] = json::SignalWords(signal);
    }
    if (isRaw)
    {
        record["data"] = json::ToJson(signal.data);
    }
}

void TCDissector::m_DescribeMark(DBusMessage* message, TSDescribed& described) const
{
    const char* text = nullptr;
    dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    described.record = {
        {"time", TimeText(m_moment.real)}, {"kind", "mark"}, {"operation", MARK_MEMBER}, {"text", Text(text)}};
}

void TCDissector::m_DescribeSignal(DBusMessage* message, TSDescribed& described)
{
    TJson& record = described.record;
    record = {
        {"time", TimeText(m_moment.real)}, {"kind", "signal"}, {"operation", Text(dbus_message_get_member(message))}};
    const TSSignalRead read = ReadSignal(message);
    if (read.signal)
    {
        AddSignal(record, *read.signal, m_wishes.asJson, m_wishes.showRaw);
        const std::uint8_t slot = protocol::UnpackSignalData(read.signal->data).slot;
        described.signal = read.signal->type;
        described.slot = slot != protocol::NO_SLOT ? std::optional<std::int64_t>(slot) : std::nullopt;
    }
    else
    {
        record["type"] = read.type;
        record["data"] = read.bytes;
    }
    AddError(record, read.error);
}
} // namespace CIM::cictl
