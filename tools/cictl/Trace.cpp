#include "cictl/Bus.h"
#include "cictl/Output.h"
#include "cictl/Time.h"
#include "cictl/Verb.h"

#include "json/OperationForm.h"
#include "json/ToJson.h"

#include <ciapi/CINames.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iostream>
#include <map>

namespace CIM::cictl
{
namespace
{
constexpr TSField TRACE_FIELDS[] = {
    {"time", ""},          {"kind", ""},           {"from", "from"},  {"operation", ""},    {"type", ""},
    {"oneWay", "one-way"}, {"program", "program"}, {"arguments", ""}, {"status", "status"}, {"result", "result"},
    {"outputs", ""},       {"handle", "handle"},   {"data", "data"},  {"after", "ms"},      {"error", "error"},
};

constexpr std::size_t MOST_OPEN_CALLS = 10'000;
constexpr unsigned ONE_WAY_FLAG = 1;
constexpr unsigned HELLO_FLAG = 2;

/// Reads a message's arguments one by one, whatever they are.
class TReader
{
public:
    explicit TReader(DBusMessage* message) : m_isThere(dbus_message_iter_init(message, &m_at)) {}
    template <class T>
    bool Take(int type, T& value)
    {
        if (!m_isThere || dbus_message_iter_get_arg_type(&m_at) != type)
        {
            return false;
        }
        dbus_message_iter_get_basic(&m_at, &value);
        m_isThere = dbus_message_iter_next(&m_at);
        return true;
    }
    bool TakeBytes(std::string& bytes)
    {
        if (!m_isThere || dbus_message_iter_get_arg_type(&m_at) != DBUS_TYPE_ARRAY ||
            dbus_message_iter_get_element_type(&m_at) != DBUS_TYPE_BYTE)
        {
            return false;
        }
        DBusMessageIter array;
        dbus_message_iter_recurse(&m_at, &array);
        const char* data = nullptr;
        int size = 0;
        dbus_message_iter_get_fixed_array(&array, &data, &size);
        bytes.assign(data ? data : "", static_cast<std::size_t>(size));
        m_isThere = dbus_message_iter_next(&m_at);
        return true;
    }

private:
    DBusMessageIter m_at{};
    bool m_isThere;
};

class TTracer
{
public:
    explicit TTracer(bool showSecrets) : m_showSecrets(showSecrets) {}

    /// \return what a message says; null when it is none of the CI daemon's
    TJson Describe(DBusMessage* message)
    {
        switch (dbus_message_get_type(message))
        {
        case DBUS_MESSAGE_TYPE_METHOD_CALL:
            return dbus_message_has_member(message, "MethodCall") ? DescribeCall(message) : TJson();
        case DBUS_MESSAGE_TYPE_SIGNAL:
            return dbus_message_has_interface(message, CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str())
                       ? DescribeSignal(message)
                       : TJson();
        default:
            return DescribeReply(message);
        }
    }

private:
    struct TSCall
    {
        const json::TOperationForm* operation;
        std::string name;
        std::chrono::steady_clock::time_point sent;
    };
    using TKey = std::pair<std::string, dbus_uint32_t>; // who called, and the call's serial

    static std::string Text(const char* text) { return text ? text : ""; }

    TJson DescribeCall(DBusMessage* message)
    {
        const json::TInterfaceForm* const interface = json::FindInterface(Text(dbus_message_get_interface(message)));
        if (!interface)
        {
            return {};
        }
        TReader reader(message);
        dbus_int32_t word = 0;
        dbus_int32_t length = 0;
        dbus_int32_t pid = 0;
        const bool hasHeader = reader.Take(DBUS_TYPE_INT32, word) && reader.Take(DBUS_TYPE_INT32, length) &&
                               reader.Take(DBUS_TYPE_INT32, pid);
        const unsigned flags = static_cast<unsigned>(word) >> 16;
        const auto id = static_cast<short>(word & 0xFFFF);
        const json::TOperationForm* const operation = interface->Find(id);
        TSCall call{operation, operation ? operation->FullName() : interface->Name() + "." + std::to_string(id),
                    std::chrono::steady_clock::now()};
        TJson record = {{"time", Now()}, {"kind", "call"}, {"from", pid}, {"operation", call.name}};
        if ((flags & ONE_WAY_FLAG) != 0)
        {
            record["oneWay"] = true;
        }
        const char* program = nullptr;
        if ((flags & HELLO_FLAG) != 0 && reader.Take(DBUS_TYPE_STRING, program))
        {
            record["program"] = program;
        }
        std::string payload;
        reader.TakeBytes(payload);
        std::string error = !hasHeader ? "the header is incomplete" : "";
        if (static_cast<std::size_t>(std::max(length, 0)) != payload.size())
        {
            error = std::to_string(payload.size()) + " bytes, but a length of " + std::to_string(length);
        }
        if (operation)
        {
            json::TSDecoded decoded = operation->RequestToJson(payload);
            if (!m_showSecrets)
            {
                json::HideSecrets(operation->FullName(), decoded.json);
            }
            if (!decoded.json.empty())
            {
                record["arguments"] = std::move(decoded.json);
            }
            error += (error.empty() || decoded.error.empty() ? "" : "; ") + decoded.error;
        }
        AddError(record, error);
        if (!dbus_message_get_no_reply(message))
        {
            if (m_calls.size() == MOST_OPEN_CALLS)
            {
                m_calls.clear(); // nobody has answered for long
            }
            m_calls[{Text(dbus_message_get_sender(message)), dbus_message_get_serial(message)}] = std::move(call);
        }
        return record;
    }

    TJson DescribeReply(DBusMessage* message)
    {
        const auto found =
            m_calls.find({Text(dbus_message_get_destination(message)), dbus_message_get_reply_serial(message)});
        if (found == m_calls.end())
        {
            return {};
        }
        const TSCall call = found->second;
        m_calls.erase(found);
        const std::chrono::duration<double, std::milli> after = std::chrono::steady_clock::now() - call.sent;
        TJson record = {{"time", Now()},
                        {"kind", "reply"},
                        {"operation", call.name},
                        {"after", std::round(after.count() * 1000) / 1000}};
        TReader reader(message);
        if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_ERROR)
        {
            const char* text = nullptr;
            reader.Take(DBUS_TYPE_STRING, text);
            record["error"] = Text(dbus_message_get_error_name(message)) + ": " + Text(text);
            return record;
        }
        unsigned char status = 0;
        dbus_int32_t length = 0;
        std::string payload;
        std::string error =
            reader.Take(DBUS_TYPE_BYTE, status) && reader.Take(DBUS_TYPE_INT32, length) && reader.TakeBytes(payload)
                ? ""
                : "the reply is incomplete";
        record["status"] = status;
        if (call.operation)
        {
            json::TSDecoded decoded = call.operation->ReplyToJson(payload);
            record.update(decoded.json);
            if (record.contains("outputs") && record["outputs"].empty())
            {
                record.erase("outputs");
            }
            error += (error.empty() || decoded.error.empty() ? "" : "; ") + decoded.error;
        }
        AddError(record, error);
        return record;
    }

    TJson DescribeSignal(DBusMessage* message)
    {
        TReader reader(message);
        const char* identifier = nullptr;
        const char* handle = nullptr;
        dbus_int32_t length = 0;
        std::string payload;
        const bool isWhole = reader.Take(DBUS_TYPE_STRING, identifier) && reader.Take(DBUS_TYPE_STRING, handle) &&
                             reader.Take(DBUS_TYPE_INT32, length) && reader.TakeBytes(payload);
        TJson record = {{"time", Now()}, {"kind", "signal"}, {"operation", Text(dbus_message_get_member(message))}};
        int number = 0;
        const std::string text = Text(identifier);
        const auto [end, bad] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool isNumber = bad == std::errc() && end == text.data() + text.size();
        record["type"] = isNumber ? json::ToJson(static_cast<ECISignalType>(number)) : TJson(text);
        record["handle"] = Text(handle);
        // Behind the eight bytes of data the payload repeats the handle.
        const std::size_t size = std::min(payload.size(), sizeof(TSSignalData));
        record["data"] = json::BytesToHex({reinterpret_cast<const unsigned char*>(payload.data()), size});
        AddError(record, isWhole ? "" : "the signal is incomplete");
        return record;
    }

    static void AddError(TJson& record, const std::string& error)
    {
        if (!error.empty())
        {
            record["error"] = error;
        }
    }

    bool m_showSecrets;
    std::map<TKey, TSCall> m_calls;
};

void BecomeMonitor(TBus& bus)
{
    const std::string signals = "type='signal',interface='" + CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "'";
    const char* const rules[] = {"type='method_call',member='MethodCall'", "type='method_return'", "type='error'",
                                 signals.c_str()};
    const char* const* const array = rules;
    const dbus_uint32_t flags = 0;
    const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> call(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_MONITORING, "BecomeMonitor"),
        &dbus_message_unref);
    dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &array, 4, DBUS_TYPE_UINT32, &flags,
                             DBUS_TYPE_INVALID);
    TBusError error;
    const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> reply(
        dbus_connection_send_with_reply_and_block(bus.Get(), call.get(), DBUS_TIMEOUT_USE_DEFAULT, error.Get()),
        &dbus_message_unref);
    if (!reply)
    {
        throw TFailure(EXIT_NO_DAEMON, "the bus does not let this user monitor it: " + error.Text());
    }
}

volatile std::sig_atomic_t isInterrupted = 0;
} // namespace

EExit TraceVerb(const TArguments& arguments)
{
    using TClock = std::chrono::steady_clock;
    const long count = arguments.Number("count", 1, 1'000'000'000, 0);
    const long timeout = arguments.Number("timeout", 1, 4'000'000, 0);
    TBus bus;
    BecomeMonitor(bus);
    struct sigaction action
    {
    };
    action.sa_handler = [](int) { isInterrupted = 1; };
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::fprintf(stderr, "cictl: tracing, Ctrl-C ends\n");

    TTracer tracer(arguments.IsSet("show-secrets"));
    const TClock::time_point end =
        timeout == 0 ? TClock::time_point::max() : TClock::now() + std::chrono::seconds(timeout);
    long seen = 0;
    while (isInterrupted == 0 && TClock::now() < end && (count == 0 || seen < count))
    {
        // Short waits: libdbus goes on waiting after a signal of the operating system.
        if (!dbus_connection_read_write(bus.Get(), 100))
        {
            throw TFailure(EXIT_NO_DAEMON, "the system bus is gone");
        }
        while (count == 0 || seen < count)
        {
            const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> message(
                dbus_connection_pop_message(bus.Get()), &dbus_message_unref);
            if (!message)
            {
                break;
            }
            const TJson record = tracer.Describe(message.get());
            if (!record.is_null())
            {
                PrintEvent(TRACE_FIELDS, record, arguments.IsJson());
                ++seen;
            }
        }
    }
    return count == 0 || seen == count ? EXIT_ANSWERED : EXIT_REFUSED;
}

EExit DecodeVerb(const TArguments& arguments)
{
    static constexpr TSField fields[] = {{"operation", "operation"},
                                         {"arguments", "arguments"},
                                         {"result", "result"},
                                         {"outputs", "outputs"},
                                         {"error", "error"}};
    const json::TInterfaceForm* const interface = json::FindInterface(arguments.Text("interface"));
    if (!interface)
    {
        throw TFailure(EXIT_USAGE, "there is no interface " + arguments.Text("interface") + " (see cictl list)");
    }
    std::string text = arguments.Text("payload");
    if (text == "-")
    {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    }
    std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
    const std::vector<unsigned char> bytes = json::BytesFromJson(text, json::TJsonPath("payload"));
    const std::string payload(bytes.begin(), bytes.end());
    const std::optional<short> id = json::MethodOf(payload);
    if (!id)
    {
        throw TFailure(EXIT_REFUSED, "the payload is not an argument tree");
    }
    const json::TOperationForm* const operation = interface->Find(*id);
    if (!operation)
    {
        throw TFailure(EXIT_REFUSED, interface->Name() + " has no method " + std::to_string(*id));
    }
    json::TSDecoded decoded =
        arguments.IsSet("reply") ? operation->ReplyToJson(payload) : operation->RequestToJson(payload);
    TJson record = {{"operation", operation->FullName()}};
    if (arguments.IsSet("reply"))
    {
        record.update(decoded.json);
    }
    else
    {
        record["arguments"] = std::move(decoded.json);
    }
    if (!decoded.error.empty())
    {
        record["error"] = decoded.error;
    }
    PrintRecord(fields, record, arguments.IsJson());
    return decoded.error.empty() ? EXIT_ANSWERED : EXIT_REFUSED;
}
} // namespace CIM::cictl
