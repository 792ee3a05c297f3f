#include "cictl/QuickCall.h"

#include "bus/Arguments.h"

#include <unistd.h>

namespace CIM::cictl
{
json::TJson QuickCall(TCBus& bus, const json::TCOperationForm& operation, const json::TJson& arguments,
                      std::chrono::milliseconds time, TCDBusError& error)
{
    const std::string name = json::FindInterface(operation.InterfaceName())->ConnectionName();
    const std::string payload = operation.RequestFromJson(arguments);
    const TCMessagePtr call(
        dbus_message_new_method_call(name.c_str(), protocol::CALL_OBJECT_PATH, name.c_str(), protocol::CALL_MEMBER));
    protocol::SCallEnvelope request;
    request.header = protocol::HeaderOf(protocol::CALL_FLAG_HELLO, operation.Id());
    request.length = static_cast<std::int32_t>(payload.size());
    request.processId = getpid();
    request.program = "cictl";
    request.payload = {payload.data(), request.length};
    AppendArguments(call.get(), request);
    const TCMessagePtr reply(
        dbus_connection_send_with_reply_and_block(bus.Get(), call.get(), static_cast<int>(time.count()), error.Get()));
    if (!reply)
    {
        return nullptr;
    }
    protocol::SReplyEnvelope answer;
    if (!ReadArguments(reply.get(), answer).IsWhole() || (answer.status & protocol::STATUS_HANDLED) == 0 ||
        answer.payload.length <= 0)
    {
        return json::TJson::object();
    }
    json::TSDecoded decoded =
        operation.ReplyToJson({answer.payload.data, static_cast<std::size_t>(answer.payload.length)});
    return decoded.error.empty() ? std::move(decoded.json) : json::TJson::object();
}
} // namespace CIM::cictl
