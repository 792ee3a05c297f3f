#include "Spoken.h"

#include "protocol/Envelope.h"
#include "traffic/Messages.h"

#include <ciapi/CIEnumNames.h>

#include <charconv>
#include <cstring>

namespace CIM::sim
{
using json::TJson;

void TSSpoken::TakeReply(const json::TCOperationForm& operation, std::string_view payload)
{
    json::TSDecoded decoded = operation.ReplyToJson(payload);
    if (!decoded.error.empty())
    {
        return;
    }
    isAnswered = true;
    if (decoded.json.contains("result"))
    {
        result = decoded.json["result"];
    }
    if (decoded.json.contains("outputs"))
    {
        outputs = std::move(decoded.json["outputs"]);
    }
    isDone = !result.is_null() && !operation.IsRefusal(result);
}

std::optional<unsigned> TSSpoken::Slot() const
{
    const auto slot = arguments.find("slot");
    return slot != arguments.end() && slot->is_number_unsigned() ? std::optional(slot->get<unsigned>()) : std::nullopt;
}

const TJson& TSSpoken::Output(const char* name) const
{
    static const TJson none;
    const auto found = outputs.find(name);
    return found != outputs.end() ? *found : none;
}

std::map<unsigned, TJson> BySlot(const TJson& map)
{
    std::map<unsigned, TJson> slots;
    for (const auto& item : map.items())
    {
        unsigned slot = 0;
        const char* const end = item.key().data() + item.key().size();
        const auto [behind, error] = std::from_chars(item.key().data(), end, slot);
        if (error == std::errc() && behind == end && slot < NO_SLOT)
        {
            slots[slot] = item.value();
        }
    }
    return slots;
}

TSSpoken ReadSpoken(const TSRecordedCall& call)
{
    TSSpoken spoken;
    if (call.operation == nullptr)
    {
        return spoken;
    }
    std::optional<TJson> arguments = ReadableArguments(*call.operation, call.Payload());
    if (!arguments)
    {
        return spoken; // whatever was answered, nobody knows to what
    }
    spoken.arguments = std::move(*arguments);
    spoken.isReadable = true;
    if (call.reply == nullptr)
    {
        spoken.isDone = call.isOneWay;
        return spoken;
    }
    const traffic::TSReply reply = traffic::ReadReply(call.reply.get());
    spoken.error = reply.errorName;
    spoken.errorText = reply.errorText;
    if (!reply.errorName.empty() || !reply.error.empty() || (reply.status & protocol::STATUS_HANDLED) == 0)
    {
        return spoken;
    }
    spoken.TakeReply(*call.operation, reply.payload);
    return spoken;
}

std::string OperationOf(const TSRecordedCall& call)
{
    return call.operation != nullptr ? call.operation->FullName() : std::string();
}

bool IsOf(const TSRecordedCall& call, const char* operation)
{
    return call.operation != nullptr && call.operation->FullName() == operation;
}

std::optional<TSSignal> ReadRecordedSignal(const TSRecordedEvent& event)
{
    if (event.kind != TSRecordedEvent::SIGNAL)
    {
        return std::nullopt;
    }
    const auto signal = traffic::ReadSignal(event.signal.get()).signal;
    return signal && !EnumName(signal->type).empty() ? signal : std::nullopt;
}

bool IsSame(const TSSignal& one, const TSSignal& other)
{
    return one.type == other.type && one.profile == other.profile && one.handle == other.handle &&
           std::memcmp(one.data.bytes, other.data.bytes, sizeof one.data.bytes) == 0;
}
} // namespace CIM::sim
