#include "calls/Peer.h"
#include "calls/Tables.h"

#include "ci_connection/CIMIPCConnection.h"

#include <ciapi/CINames.h>

#include <cstdio>
#include <cstdlib>
#include <dbus/dbus-glib-lowlevel.h>
#include <glib.h>
#include <stdexcept>
#include <string>

namespace CIM::bench
{
namespace
{
constexpr int SIGNALS = 20000;

struct TSBurst
{
    int subscriptions;
    int signals;
};
using TCReceiver = TCWorker<TSBurst, TSCost>;

long g_received = 0;
long g_bytes = 0;

CIM_CALLED_FROM_OUTSIDE DBusHandlerResult PlainFilter(DBusConnection*, DBusMessage* message, void*)
{
    const char* identifier = nullptr;
    const char* handle = nullptr;
    dbus_int32_t stated = 0;
    const char* bytes = nullptr;
    int length = 0;
    if (!dbus_message_is_signal(message, CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), "Signal") ||
        !dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &identifier, DBUS_TYPE_STRING, &handle,
                               DBUS_TYPE_INT32, &stated, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length,
                               DBUS_TYPE_INVALID))
    {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    g_bytes += length + std::atoi(identifier);
    ++g_received;
    return DBUS_HANDLER_RESULT_HANDLED;
}

void LibraryCallback(int messageId, TCMessageBuffer& payload)
{
    g_bytes += static_cast<long>(payload.GetUnreadSize()) + messageId;
    ++g_received;
}

/// \return what subscribes to one more identifier
std::function<void(int)> ReceivePlainly()
{
    DBusConnection* const connection = ConnectPlainly().release(); // until the process ends
    dbus_connection_add_filter(connection, PlainFilter, nullptr, nullptr);
    dbus_connection_setup_with_g_main(connection, nullptr);
    return [connection](int identifier)
    {
        const std::string rule = "path='" + CI_SIGNAL_SUBSCRIBER_OBJECT_NAME + "', type='signal', interface='" +
                                 CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "', member='Signal', arg0='" +
                                 std::to_string(identifier) + "', arg1='" + SIGNAL_HANDLE + "'";
        TCDBusError error;
        dbus_bus_add_match(connection, rule.c_str(), error.Get());
        if (error.IsSet())
        {
            throw std::runtime_error(error.Text());
        }
    };
}

std::function<void(int)> ReceiveThroughLibrary()
{
    const auto connection = std::make_shared<TCCIMIPCConnection>(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME,
                                                                 CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, true);
    connection->SetCallbackFunction(IPC_MESSAGE_SIGNAL, LibraryCallback);
    return [connection](int identifier)
    {
        if (!connection->AddMatchRule(IPC_MESSAGE_SIGNAL, identifier, TVSHandle(static_cast<EProfile>(1), 2)))
        {
            throw std::runtime_error("library: no subscription");
        }
    };
}

/// \param firstIdentifier  nobody else subscribes to it and those behind it
TCReceiver::TServe BeginReceiving(int firstIdentifier, const std::function<void(int)>& subscribe)
{
    const std::shared_ptr<DBusConnection> caller(ConnectPlainly());
    return [=, subscriptions = 0](const TSBurst& burst) mutable
    {
        for (; subscriptions < burst.subscriptions; ++subscriptions)
        {
            subscribe(firstIdentifier + subscriptions);
        }
        const TSRaise wanted{firstIdentifier, burst.subscriptions, burst.signals};
        g_received = 0;
        return Measure(burst.signals,
                       [&]
                       {
                           const std::string_view payload(reinterpret_cast<const char*>(&wanted), sizeof wanted);
                           SendPlainly(caller.get(), PlainCall(METHOD_RAISE, payload).get());
                           while (g_received < burst.signals)
                           {
                               g_main_context_iteration(nullptr, TRUE);
                           }
                       });
    };
}
} // namespace

void PrintSignals(const TSOptions& options)
{
    const int signals = options.Count(SIGNALS);
    std::printf("\n| %d signals, 16 bytes each: subscriptions | | receiver CPU per signal, us | ratio | allocations |\n"
                "|--:|:--|--:|--:|--:|\n",
                signals);
    std::vector<std::unique_ptr<TCReceiver>> receivers;
    receivers.push_back(std::make_unique<TCReceiver>([] { return BeginReceiving(10'000, ReceivePlainly()); }));
    receivers.push_back(std::make_unique<TCReceiver>([] { return BeginReceiving(20'000, ReceiveThroughLibrary()); }));
    for (const int subscriptions : {1, 500}) // the bus allows 512 rules of a connection
    {
        const auto costs = TakeTurns<TSBurst, TSCost>(options.rounds, receivers, {subscriptions, signals});
        for (std::size_t which = 0; which < receivers.size(); ++which)
        {
            std::printf("| %d | %s | %.2f | %.2f | %.2f |\n", subscriptions, PeerKinds()[which].name,
                        Median(costs[which], &TSCost::cpu), Ratio(costs[which], costs[0], &TSCost::cpu),
                        Median(costs[which], &TSCost::allocations));
        }
        std::fflush(stdout);
    }
}
} // namespace CIM::bench
