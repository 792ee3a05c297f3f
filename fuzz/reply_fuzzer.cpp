#include "Memory.h"
#include "Messages.h"

#include "ci_connection/CallRouter.h"
#include "ci_connection/CIMIPCConnection.h"
#include "ci_connection/Registration.h"

#include <ciapi/CICallOutcome.h>

#include <cstring>
#include <utility>

// The library reading any message as the reply to its call. Property: an answer or a failure, as libdbus's own look at
// the message says; the payload is never more than what came, and nothing on failure; the outcome goes with it.

namespace
{
CIM::SReply nextReply;
char bus; // no connection is ever looked into
} // namespace

// No bus: the connection is none, and the router hands over the reply that the input made.
extern "C"
{
    dbus_bool_t dbus_connection_get_unix_fd(DBusConnection*, int*) { return TRUE; }
    dbus_bool_t dbus_bus_set_unique_name(DBusConnection*, const char*) { return TRUE; }
    dbus_bool_t dbus_connection_add_filter(DBusConnection*, DBusHandleMessageFunction, void*, DBusFreeFunction)
    {
        return TRUE;
    }
}

namespace CIM
{
TCConnectionPtr ConnectToSystemBus(TCDBusError&) { return TCConnectionPtr(reinterpret_cast<DBusConnection*>(&bus)); }
bool Authenticate(std::span<DBusConnection* const>, std::chrono::milliseconds, TCDBusError&) { return true; }

std::string Register(TCCallRouter&, TCDBusError&) { return ":1.1"; }
void Register(DBusConnection*, const std::function<std::optional<std::string>()>& meanwhile, std::chrono::milliseconds,
              TCDBusError&, TCDBusError&)
{
    meanwhile();
}

TCCallRouter::TCCallRouter(int socket, std::chrono::milliseconds timeout)
    : m_socket(socket), m_timeout(timeout), m_writer(socket)
{
}
TCSocketWriter::EResult TCCallRouter::Send(const SRequest&, std::uint32_t&) { return TCSocketWriter::EResult::WRITTEN; }
void TCCallRouter::BeginEnding() {}
std::chrono::milliseconds TCCallRouter::TimeLeft() const { return m_timeout; }
TCCallRouter::EResult TCCallRouter::Call(const SRequest&, SReply& reply)
{
    reply = std::exchange(nextReply, SReply());
    return EResult::ANSWERED;
}
TCCallRouter::EResult TCCallRouter::Call(DBusMessage*, TCMessagePtr&) { return EResult::BROKEN; }

namespace
{
using fuzz::Require;

/// What a reply has to give.
struct TSExpected
{
    bool isAnswer = false;
    bool isWhole = false;
    std::string payload;
};

TSExpected Expect(DBusMessage* reply)
{
    TSExpected expected;
    DBusMessageIter argument;
    if (dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_ERROR || !dbus_message_iter_init(reply, &argument) ||
        dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_BYTE)
    {
        return expected;
    }
    unsigned char status = 0;
    dbus_message_iter_get_basic(&argument, &status);
    expected.isAnswer = (status & 1) != 0;
    dbus_message_iter_next(&argument);
    dbus_int32_t length = 0;
    expected.isWhole = dbus_message_iter_get_arg_type(&argument) == DBUS_TYPE_INT32;
    if (expected.isWhole)
    {
        dbus_message_iter_get_basic(&argument, &length);
    }
    dbus_message_iter_next(&argument);
    const auto bytes = fuzz::BytesAt(argument);
    expected.isWhole = expected.isWhole && bytes;
    if (bytes && length > 0)
    {
        expected.payload = bytes->substr(0, static_cast<std::size_t>(length));
    }
    return expected;
}

// The message as the router hands it over.
SReply ToReply(DBusMessage* message)
{
    char* bytes = nullptr;
    int size = 0;
    dbus_message_marshal(message, &bytes, &size);
    SReply reply;
    reply.bytes = TCMessageBlock(static_cast<std::size_t>(size));
    std::memcpy(reply.bytes.Data(), bytes, reply.bytes.Size());
    dbus_free(bytes);
    reply.head = ReadWireHead(reply.Bytes());
    return reply;
}

void CheckHead(DBusMessage* message, const std::optional<SWireHead>& head)
{
    if (head)
    {
        Require(head->type == dbus_message_get_type(message));
        Require(head->replySerial == dbus_message_get_reply_serial(message));
        Require(!head->isReply || dbus_message_has_signature(message, "yiay"));
    }
}

void CheckOutcome(const TSExpected& expected, bool isError)
{
    const TSCallOutcome became = LastCallOutcome();
    Require((became.outcome == CALL_OUTCOME_ANSWERED) == (expected.isAnswer && expected.isWhole));
    Require((became.outcome == CALL_OUTCOME_ERROR_REPLY || became.outcome == CALL_OUTCOME_NO_REPLY) == isError);
    Require(became.outcome != CALL_OUTCOME_NONE && became.outcome != CALL_OUTCOME_NOT_SENT);
    Require(isError || (became.errorName.empty() && became.errorText.empty()));
    Require(became.errorText.size() <= 255 && dbus_validate_utf8(became.errorText.c_str(), nullptr));
    Require(!ToString(became).empty());
}
} // namespace
} // namespace CIM

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    using fuzz::Require;
    static auto* const connection = new TCCIMIPCConnection("com.kelvora.Test", "/", false);
    static const std::string NAMES[] = {"com.kelvora.Test"};
    static const std::string MEMBERS[] = {"Test"};
    static const std::string PATHS[] = {"/"};
    fuzz::TCInput input(data, size);
    TCMessagePtr reply = fuzz::TakeMessage(input, {NAMES, MEMBERS, PATHS});
    if (!reply || dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_METHOD_CALL ||
        dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_SIGNAL) // which answer nothing
    {
        return 0;
    }
    const TSExpected expected = Expect(reply.get());
    const bool isError = dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_ERROR;
    nextReply = ToReply(reply.get());
    CheckHead(reply.get(), nextReply.head);
    reply.reset();
    TCMessageBuffer request;
    TCMessageBuffer output;
    {
        const fuzz::TCMemoryBound bound(16384 + 2 * size);
        Require(connection->Call("com.kelvora.Test", 42, request, output) == expected.isAnswer);
    }
    Require(nextReply.bytes.Size() == 0);
    const std::size_t length = output.GetUnreadSize();
    Require(length == (expected.isAnswer ? expected.payload.size() : 0));
    Require(length == 0 || std::memcmp(output.GetAsCStr(0), expected.payload.data(), length) == 0);
    CheckOutcome(expected, isError);
    return 0;
}
