#include "Memory.h"
#include "Messages.h"

#include "ci_connection/SignalReceiver.h"
#include "protocol/Envelope.h"
#include "proxy/SignalData.h"

#include <ciapi/CIDiagnostics.h>
#include <ciapi/CINames.h>

#include <tvplatform/MessageBuffer.h>

#include <cstring>
#include <vector>

// Any message where the library expects its daemon's signals. Property: a signal of a known kind is either delivered,
// once, with the identifier and no more of the payload than came, or it is malformed, and then the process would end;
// everything else is left alone.

namespace CIM
{
namespace
{
struct TSEnd // what ends the process otherwise
{
};
} // namespace

// Take the place of those that end the process; what stands in the same source goes with them.
void _TCCIAPIAssert(const char*, const char*, unsigned long) { throw TSEnd(); }
void _TCCIAPIAssert(const char*, const char*, unsigned long, const char*, ...) { throw TSEnd(); }
const char* GetProgName() { return ""; }
long GetPid() { return 1; }

namespace
{
using fuzz::Require;

constexpr const char* INTERFACE = "com.kelvora.Signals";

struct TSDelivered
{
    int identifier = 0;
    std::string payload;
    std::string sender;
};
std::vector<TSDelivered> delivered;

void CheckCiSignal(int identifier, TCMessageBuffer& payload)
{
    const std::size_t size = payload.GetUnreadSize();
    const auto signal = ParseSignal(identifier, payload);
    Require(signal.has_value() == (size >= 16) && payload.GetUnreadSize() == size);
    if (signal)
    {
        const char* const bytes = payload.GetAsCStr(0);
        std::int32_t profile = 0;
        std::uint16_t handle = 0;
        std::memcpy(&profile, bytes + 8, 4);
        std::memcpy(&handle, bytes + 12, 2);
        Require(std::memcmp(&signal->data, bytes, 8) == 0 && signal->signalType == identifier);
        Require(signal->handle.profile == profile && signal->handle.handle == handle);
        Require(signal->key.signalType == identifier && signal->key.profile == profile && signal->key.handle == handle);
        Require(!ToString(signal->handle).empty());
    }
}

void OnSignal(int identifier, TCMessageBuffer& payload)
{
    CheckCiSignal(identifier, payload);
    const char* const bytes = payload.GetAsCStr(0);
    delivered.push_back(
        {identifier, bytes != nullptr ? std::string(bytes, payload.GetUnreadSize()) : "", payload.GetSender()});
}

/// The layout, told once more: a text, with some kinds anything at all, a number, bytes; more may follow.
/// \return nothing when the message has another one
std::optional<TSDelivered> Expect(DBusMessage* message, bool carriesHandle)
{
    DBusMessageIter argument;
    if (!dbus_message_iter_init(message, &argument) || dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_STRING)
    {
        return std::nullopt;
    }
    const char* text = nullptr;
    dbus_message_iter_get_basic(&argument, &text);
    if (carriesHandle)
    {
        dbus_message_iter_next(&argument);
    }
    if (!dbus_message_iter_next(&argument) || dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_INT32)
    {
        return std::nullopt;
    }
    dbus_int32_t length = 0;
    dbus_message_iter_get_basic(&argument, &length);
    dbus_message_iter_next(&argument);
    const auto bytes = fuzz::BytesAt(argument);
    if (!bytes)
    {
        return std::nullopt;
    }
    const char* const sender = dbus_message_get_sender(message);
    return TSDelivered{static_cast<int>(std::strtol(text, nullptr, 10)),
                       std::string(bytes->substr(0, static_cast<std::size_t>(std::max(length, 0)))),
                       sender != nullptr ? sender : ""};
}

/// The kind that a message is a signal of; nothing for everything else.
const protocol::SSignalKind* KindOf(DBusMessage* message)
{
    for (const protocol::SSignalKind& kind : protocol::SIGNAL_KINDS)
    {
        if (dbus_message_is_signal(message, INTERFACE, kind.member))
        {
            return &kind;
        }
    }
    return nullptr;
}

TCSignalReceiver& Receiver()
{
    static TCSignalReceiver& receiver = []() -> TCSignalReceiver&
    {
        auto* const made = new TCSignalReceiver(INTERFACE);
        gConnectionActive.store(true);
        for (int type = 0; type < IPC_MESSAGE_MAX; ++type)
        {
            made->Set(static_cast<EIPCMessageType>(type), OnSignal);
        }
        return *made;
    }();
    return receiver;
}

const fuzz::TSNames& Names()
{
    static const std::vector<std::string> members = []
    {
        std::vector<std::string> all;
        for (const protocol::SSignalKind& kind : protocol::SIGNAL_KINDS)
        {
            all.emplace_back(kind.member);
        }
        return all;
    }();
    static const std::string INTERFACES[] = {INTERFACE, DBUS_INTERFACE_LOCAL};
    static const std::string PATHS[] = {CI_SIGNAL_SUBSCRIBER_OBJECT_NAME};
    static const fuzz::TSNames names{INTERFACES, members, PATHS};
    return names;
}
} // namespace
} // namespace CIM

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    using fuzz::Require;
    fuzz::TCInput input(data, size);
    const TCMessagePtr message = fuzz::TakeMessage(input, Names());
    if (!message)
    {
        return 0;
    }
    const protocol::SSignalKind* const kind = KindOf(message.get());
    const std::optional<TSDelivered> expected =
        kind != nullptr ? Expect(message.get(), kind->carriesHandle) : std::nullopt;
    TCSignalReceiver& receiver = Receiver();
    delivered.clear();
    bool hasEnded = false;
    DBusHandlerResult result = DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    try
    {
        const fuzz::TCMemoryBound bound(16384 + 4 * size);
        result = receiver.Handle(message.get());
    }
    catch (const TSEnd&)
    {
        hasEnded = true;
    }
    Require(hasEnded == (kind != nullptr && !expected));
    Require(delivered.size() == (expected ? 1 : 0));
    if (expected)
    {
        Require(result == DBUS_HANDLER_RESULT_HANDLED && delivered[0].identifier == expected->identifier &&
                delivered[0].payload == expected->payload && delivered[0].sender == expected->sender);
    }
    else if (!hasEnded)
    {
        const bool isLoss = dbus_message_is_signal(message.get(), DBUS_INTERFACE_LOCAL, "Disconnected");
        Require(result == (isLoss ? DBUS_HANDLER_RESULT_HANDLED : DBUS_HANDLER_RESULT_NOT_YET_HANDLED));
    }
    return 0;
}
