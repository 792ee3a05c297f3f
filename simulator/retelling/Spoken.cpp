#include "Spoken.h"

#include "simulator/daemon/Messages.h"
#include "traffic/Messages.h"

#include <ciapi/CIEnumNames.h>

#include <charconv>
#include <cstring>

namespace CIM::sim
{
using json::TJson;

namespace
{
bool IsTrue(const TJson& result)
{
    return result.is_boolean() ? result.get<bool>() : result.is_number_integer() && result.get<std::int64_t>() > 0;
}
} // namespace

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
    const protocol::SBytes payload = DecodeCall(call.message.get()).envelope.payload;
    json::TSDecoded request = call.operation->RequestToJson({payload.data, static_cast<std::size_t>(payload.length)});
    if (!request.error.empty())
    {
        return spoken; // whatever was answered, nobody knows to what
    }
    call.operation->HideSecrets(request.json);
    request.json.erase("processId");
    spoken.arguments = std::move(request.json);
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
    json::TSDecoded decoded = call.operation->ReplyToJson(reply.payload);
    if (!decoded.error.empty())
    {
        return spoken;
    }
    spoken.isAnswered = true;
    if (decoded.json.contains("result"))
    {
        spoken.result = decoded.json["result"];
    }
    if (decoded.json.contains("outputs"))
    {
        spoken.outputs = std::move(decoded.json["outputs"]);
    }
    spoken.isDone = IsTrue(spoken.result);
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
