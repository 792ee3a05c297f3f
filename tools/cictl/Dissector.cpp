#include "cictl/Dissector.h"

#include "cictl/Time.h"

#include "protocol/Envelope.h"
#include "json/Signals.h"
#include "json/ToJson.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace CIM::cictl
{
namespace
{
constexpr std::size_t MOST_OPEN_CALLS = 10'000;

std::string Text(const char* text) { return text ? text : ""; }

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

/// The slot that the arguments of a call name.
std::optional<std::int64_t> SlotIn(const TJson& arguments)
{
    const auto slot = arguments.find("slot");
    return slot != arguments.end() && slot->is_number_integer() ? std::optional(slot->get<std::int64_t>())
                                                                : std::nullopt;
}

double Milliseconds(const recording::TSMoment& from, const recording::TSMoment& to)
{
    return std::round(static_cast<double>(recording::TimeBetween(from, to)) / 1000) / 1000;
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
        if (traffic::IsSignal(message))
        {
            m_DescribeSignal(message, described);
        }
        else if (const auto text = traffic::ReadMark(message))
        {
            described.record = {{"time", TimeText(moment.real)}, {"kind", "mark"}};
            m_AddMember(message, described.record);
            described.record["text"] = *text;
        }
        break;
    default:
        m_DescribeReply(message, described);
        break;
    }
    return described;
}

bool TCDissector::PassOver(DBusMessage* message)
{
    switch (dbus_message_get_type(message))
    {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        if (traffic::InterfaceOfCall(message) == nullptr)
        {
            return false;
        }
        m_AwaitReply(message, {});
        return true;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return traffic::IsSignal(message) || traffic::ReadMark(message);
    default:
        return m_calls.erase({Text(dbus_message_get_destination(message)), dbus_message_get_reply_serial(message)}) > 0;
    }
}

bool TCDissector::Note(const recording::TSMessageHead& head, const recording::TSMoment& moment)
{
    if (head.type != DBUS_MESSAGE_TYPE_METHOD_CALL)
    {
        m_calls.erase({std::string(head.destination), head.replySerial});
        return true;
    }
    const json::TCInterfaceForm* const interface = traffic::InterfaceOfCall(head);
    const bool isForeign = head.member != protocol::CALL_MEMBER || head.path != protocol::CALL_OBJECT_PATH;
    const json::TCOperationForm* const operation =
        interface != nullptr && !isForeign ? interface->Find(protocol::MethodIdOf(head.FirstNumber())) : nullptr;
    if (operation == nullptr)
    {
        return false;
    }
    if (!head.wantsNoReply)
    {
        m_AwaitReply({std::string(head.sender), head.serial}, {operation, operation->FullName(), moment});
    }
    return true;
}

std::optional<double> TCDissector::Waited(const recording::TSMessageHead& reply,
                                          const recording::TSMoment& moment) const
{
    const auto found =
        m_calls.empty() ? m_calls.end() : m_calls.find({std::string(reply.destination), reply.replySerial});
    return found != m_calls.end() ? std::optional(Milliseconds(found->second.sent, moment)) : std::nullopt;
}

std::vector<TCDissector::TSDescribed> TCDissector::UnansweredCalls() const
{
    std::vector<TSDescribed> calls;
    for (const auto& [key, call] : m_calls)
    {
        TSDescribed described;
        described.record = {{"time", TimeText(call.sent.real)},
                            {"kind", "call"},
                            {"operation", call.name},
                            {"error", "no reply has come until the end"}};
        described.operation = call.operation;
        described.slot = call.slot;
        described.application = key.first;
        described.moment = call.sent;
        calls.push_back(std::move(described));
    }
    std::stable_sort(calls.begin(), calls.end(),
                     [](const TSDescribed& one, const TSDescribed& other)
                     { return one.moment.real < other.moment.real; });
    return calls;
}

void TCDissector::m_DescribeCall(DBusMessage* message, TSDescribed& described)
{
    const std::optional<traffic::TSCall> read = traffic::ReadCall(message);
    if (!read)
    {
        return;
    }
    TSCall call{read->operation, read->name, m_moment};
    call.isForeign = read->isForeign;
    TJson& record = described.record;
    record = {{"time", TimeText(m_moment.real)}, {"kind", "call"}};
    record["from"] = read->isForeign ? TJson(Text(dbus_message_get_sender(message))) : TJson(read->processId);
    record["operation"] = call.name;
    if (read->isOneWay)
    {
        record["oneWay"] = true;
    }
    if (read->program != nullptr)
    {
        record["program"] = read->program;
    }
    std::string error = read->error;
    if (read->operation)
    {
        json::TSDecoded decoded = read->operation->RequestToJson(read->payload);
        if (!m_wishes.showSecrets)
        {
            read->operation->HideSecrets(decoded.json);
            if (json::MayHideSecrets(read->interface, read->operation, read->payload))
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
    described.operation = read->operation;
    described.slot = call.slot;
    described.application = Text(dbus_message_get_sender(message));
    m_AwaitReply(message, std::move(call));
}

void TCDissector::m_AwaitReply(DBusMessage* message, TSCall call)
{
    if (!dbus_message_get_no_reply(message))
    {
        m_AwaitReply({Text(dbus_message_get_sender(message)), dbus_message_get_serial(message)}, std::move(call));
    }
}

void TCDissector::m_AwaitReply(TKey key, TSCall call)
{
    if (m_calls.size() == MOST_OPEN_CALLS)
    {
        m_calls.clear(); // nobody has answered for long
    }
    m_calls[std::move(key)] = std::move(call);
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
    described.operation = call.operation;
    described.slot = call.slot;
    described.application = Text(dbus_message_get_destination(message));
    described.isOfBadCall = call.isBad;
    described.ms = Milliseconds(call.sent, m_moment);
    TJson& record = described.record;
    record = {{"time", TimeText(m_moment.real)}, {"kind", "reply"}, {"operation", call.name}, {"ms", *described.ms}};
    const traffic::TSReply reply = traffic::ReadReply(message);
    if (!reply.errorName.empty())
    {
        record["error"] = reply.errorName + ": " + reply.errorText;
        return;
    }
    if (call.isForeign)
    {
        return; // nobody knows what it carries
    }
    std::string error = reply.error;
    record["status"] = reply.status;
    if (call.operation)
    {
        const json::TSDecoded decoded = call.operation->ReplyToJson(reply.payload);
        record.update(decoded.json);
        if (record.contains("outputs") && record["outputs"].empty())
        {
            record.erase("outputs");
        }
        error = Both(error, decoded.error);
    }
    AddError(record, error);
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

/// Adds the member of a signal or mark: in text only where it says more than the kind does.
void TCDissector::m_AddMember(DBusMessage* message, TJson& record) const
{
    const bool isPlain = dbus_message_has_member(message, protocol::SIGNAL_KINDS[IPC_MESSAGE_SIGNAL].member) ||
                         dbus_message_has_member(message, traffic::MARK_MEMBER);
    if (m_wishes.asJson || !isPlain)
    {
        record["operation"] = Text(dbus_message_get_member(message));
    }
}

void TCDissector::m_DescribeSignal(DBusMessage* message, TSDescribed& described)
{
    described.application = Text(dbus_message_get_destination(message));
    TJson& record = described.record;
    record = {{"time", TimeText(m_moment.real)}, {"kind", "signal"}};
    m_AddMember(message, record);
    const traffic::TSSignal read = traffic::ReadSignal(message);
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
