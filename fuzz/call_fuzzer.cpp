#include "Messages.h"

#include "protocol/Envelope.h"
#include "simulator/daemon/SimulatedDaemon.h"
#include "simulator/daemon/Verbs.h"
#include "simulator/model/Model.h"
#include "json/OperationForm.h"

#include <ciapi/CINames.h>

#include <glib.h>
#include <optional>
#include <vector>

// Any messages to the simulator, to its interfaces and to its control object. Property: each call has one reply, a result
// or an error, unless its sender wants none; what the model answers can be read; the set lives on.

namespace CIM::sim
{
namespace
{
using fuzz::Require;

/// What went out, and where calls come in: in the place of the bus.
struct TSBus
{
    TCBusPort::TSEvents events;
    bool isConnected = false;
    std::vector<dbus_uint32_t> replies; ///< the serials of the calls that they answer
} bus;
} // namespace

TCBusPort::TCBusPort(GMainContext* context, TSEvents events) : m_context(context), m_events(std::move(events))
{
    bus.events = m_events;
}
void TCBusPort::Connect() {}
void TCBusPort::Disconnect() {}
void TCBusPort::TakeName(const std::string&) {}
void TCBusPort::LeaveName(const std::string&) {}
long TCBusPort::OutgoingBytes() const { return 0; }
void TCBusPort::Send(DBusMessage* message)
{
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_SIGNAL)
    {
        bus.replies.push_back(dbus_message_get_reply_serial(message));
    }
}

namespace
{
constexpr int MOST_TURNS = 8; // of the main loop behind a call

/// Verbs that do what nobody may ask for a million times: their work grows with their arguments.
bool IsWork(DBusMessage* message) { return dbus_message_has_member(message, "AdvanceClock"); }
/// Verbs after which replies need not be what they were.
bool IsDisturbance(DBusMessage* message)
{
    return dbus_message_has_member(message, "AddFault") || dbus_message_has_member(message, "Restart");
}

const fuzz::TSNames& Names()
{
    static const std::vector<std::string> interfaces = []
    {
        std::vector<std::string> all = TCSkeletons::ConnectionNames();
        all.insert(all.end(), {CONTROL_INTERFACE, DBUS_INTERFACE_INTROSPECTABLE});
        return all;
    }();
    static const std::vector<std::string> members = []
    {
        std::vector<std::string> all = {protocol::CALL_MEMBER, "Introspect"};
        for (const TSVerb& verb : Verbs())
        {
            all.emplace_back(verb.name);
        }
        return all;
    }();
    static const std::string PATHS[] = {protocol::CALL_OBJECT_PATH, CONTROL_OBJECT, "/"};
    static const fuzz::TSNames names{interfaces, members, PATHS};
    return names;
}

/// Whether the header of a call of an operation says that nobody waits.
bool SaysOneWay(DBusMessage* message)
{
    dbus_int32_t header = 0;
    DBusMessageIter argument;
    if (!dbus_message_iter_init(message, &argument) || dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_INT32)
    {
        return false;
    }
    dbus_message_iter_get_basic(&argument, &header);
    return (header >> 16 & 1) != 0;
}

/// How many replies a call gets: one or none; nothing when the message is not clear about it.
std::optional<std::size_t> RepliesTo(DBusMessage* message)
{
    if (dbus_message_get_no_reply(message))
    {
        return 0;
    }
    // A call that is refused for its arguments has its error, whatever its first argument says.
    return SaysOneWay(message) ? std::nullopt : std::optional<std::size_t>(1);
}

void CheckJournal(const TCJournal& journal)
{
    for (const TSJournalEntry& entry : journal.Entries())
    {
        Require(!entry.ToJson().is_null());
        if (entry.operation != nullptr && !entry.reply.empty())
        {
            Require(entry.operation->ReplyToJson(entry.reply).error.empty());
        }
    }
}

void Play(fuzz::TCInput input, GMainContext* context)
{
    const std::size_t size = input.Rest().size();
    static const TSSetDefinition set = DefaultSet();
    TCModel model(set, 1);
    TSSimulatedDaemonOptions options;
    options.context = context;
    options.markerPath = "";
    options.isManualClock = true;
    TCSimulatedDaemon daemon(model, options);
    daemon.onCrash = [](bool) {};
    daemon.Start();
    daemon.Clock().Advance(10'000); // the CAMs are ready
    bool isDisturbed = false;
    while (!input.IsEmpty())
    {
        const TCMessagePtr message = fuzz::TakeMessage(input, Names());
        if (!message)
        {
            continue;
        }
        if (dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_METHOD_CALL || IsWork(message.get()))
        {
            daemon.Clock().Advance(dbus_message_get_serial(message.get()) % 60'000);
            continue;
        }
        isDisturbed = isDisturbed || IsDisturbance(message.get());
        bus.replies.clear();
        bus.events.onCall(message.get());
        const auto expected = RepliesTo(message.get());
        Require(isDisturbed || !expected || bus.replies.size() == *expected);
        Require(bus.replies.size() <= 1);
        Require(bus.replies.empty() || bus.replies[0] == dbus_message_get_serial(message.get()));
        for (int turn = 0; turn < MOST_TURNS && g_main_context_iteration(context, FALSE) != FALSE; ++turn)
        {
        }
    }
    bus.events.onClientGone(":1.1");
    if (size % 8 == 0) // not always: this takes more time than all the rest
    {
        CheckJournal(daemon.Journal());
        Require(json::Dump(daemon.State()).size() > 2);
    }
}
} // namespace
} // namespace CIM::sim

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    static GMainContext* const context = []
    {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1); // for strangers, who find no bus
        g_set_printerr_handler([](const char*) {});
        return g_main_context_new();
    }();
    sim::Play(fuzz::TCInput(data, size), context);
    return 0;
}
