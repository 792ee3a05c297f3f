#include "cictl/Bus.h"
#include "cictl/Dissector.h"
#include "cictl/Output.h"
#include "cictl/Verb.h"

#include "protocol/Envelope.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <vector>

namespace CIM::cictl
{
namespace
{
constexpr TSField TRACE_FIELDS[] = {
    {"time", ""},          {"kind", ""},           {"from", "from"},     {"operation", ""},    {"type", ""},
    {"oneWay", "one-way"}, {"program", "program"}, {"arguments", ""},    {"status", "status"}, {"result", "result"},
    {"outputs", ""},       {"profile", "profile"}, {"handle", "handle"}, {"slot", "slot"},     {"code", "code"},
    {"id", "id"},          {"value", "value"},     {"meaning", ""},      {"words", ""},        {"data", "data"},
    {"after", "ms"},       {"error", "error"},
};

void BecomeMonitor(TCBus& bus)
{
    // Also calls that name no interface, and calls of other members and objects: somebody may have got them wrong.
    std::vector<std::string> rules = {std::string("type='method_call',member='") + protocol::CALL_MEMBER + "'",
                                      "type='signal',interface='" + CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "'",
                                      "type='method_return'", "type='error'"};
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        rules.push_back("type='method_call',interface='" + interface.ConnectionName() + "'");
    }
    std::vector<const char*> texts;
    std::transform(rules.begin(), rules.end(), std::back_inserter(texts),
                   [](const auto& rule) { return rule.c_str(); });
    const char* const* const array = texts.data();
    const dbus_uint32_t flags = 0;
    const TCMessagePtr call(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_MONITORING, "BecomeMonitor"));
    dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &array, static_cast<int>(texts.size()),
                             DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    TCDBusError error;
    if (!bus.Ask(call.get(), error))
    {
        FailForBus("the bus does not let this user monitor it", error);
    }
}

volatile std::sig_atomic_t g_interruption = 0; // a signal's number

/// Keeps the signals that end a trace, as long as it lives.
class TCInterruption
{
public:
    TCInterruption()
    {
        g_interruption = 0;
        struct sigaction action
        {
        };
        action.sa_handler = [](int number) { g_interruption = number; };
        sigaction(SIGINT, &action, &m_formerInterrupt);
        sigaction(SIGTERM, &action, &m_formerTerminate);
    }
    ~TCInterruption()
    {
        sigaction(SIGINT, &m_formerInterrupt, nullptr);
        sigaction(SIGTERM, &m_formerTerminate, nullptr);
    }
    TCInterruption(const TCInterruption&) = delete;
    TCInterruption& operator=(const TCInterruption&) = delete;

private:
    struct sigaction m_formerInterrupt
    {
    };
    struct sigaction m_formerTerminate
    {
    };
};
} // namespace

EExit TraceVerb(const TCArguments& arguments)
{
    using TCClock = std::chrono::steady_clock;
    const long count = arguments.Number("count", 1, 1'000'000'000, 0);
    const auto timeout = arguments.Seconds("timeout");
    TCBus bus;
    BecomeMonitor(bus);
    const TCInterruption interruption;
    std::fprintf(stderr, "cictl: tracing, Ctrl-C ends\n");

    TCDissector dissector({.showSecrets = arguments.IsSet("show-secrets"),
                           .showRaw = arguments.IsSet("raw"),
                           .asJson = arguments.IsJson()});
    const TCClock::time_point end = timeout ? TCClock::now() + *timeout : TCClock::time_point::max();
    long seen = 0;
    while (g_interruption == 0 && TCClock::now() < end && (count == 0 || seen < count))
    {
        // Short waits: libdbus goes on waiting after a signal of the operating system.
        if (!dbus_connection_read_write(bus.Get(), 100))
        {
            throw TCFailure(EXIT_NO_BUS, "the system bus is gone");
        }
        while (count == 0 || seen < count)
        {
            const TCMessagePtr message(dbus_connection_pop_message(bus.Get()));
            if (!message)
            {
                break;
            }
            const TJson record = dissector.Describe(message.get());
            if (!record.is_null())
            {
                PrintEvent(TRACE_FIELDS, record, arguments.IsJson());
                ++seen;
            }
        }
    }
    if (g_interruption != 0)
    {
        return g_interruption == SIGINT ? EXIT_INTERRUPTED : EXIT_TERMINATED;
    }
    return count == 0 || seen == count ? EXIT_ANSWERED : EXIT_TIMEOUT;
}
} // namespace CIM::cictl
