#include "policy/BusClient.h"
#include "policy/PolicyBus.h"
#include "protocol/Interfaces.h"
#include "support/Users.h"

#include <ciapi/CINames.h>

#include <gmock/gmock.h>
#include <tvplatform/BusName.h>

#include <array>
#include <map>

// Who may do what under the policy that is installed: each cell of one table is tried on each bus. The expectations are
// typed by hand.

namespace CIM
{
namespace
{
constexpr const char* SIGNALS = "com.kelvora.ciapi.SignalIFace";
const std::vector<std::string> DAEMON_NAMES = {
    "com.kelvora.ciapi.ICIGeneral",
    "com.kelvora.ciapi.ICIAppMMI",
    "com.kelvora.ciapi.ICIOperatorProfile",
    "com.kelvora.ciapi.IPvrCip",
    "com.kelvora.ciapi.ICIDebug",
    "com.kelvora.ciapi.ICIAuxiliaryFileSystem",
    "com.kelvora.ciapi.ICISignalSubscriber",
    "com.kelvora.ciapi.ICICAMPlayer",
    "com.kelvora.ciapi.ICISampleDecryption",
};

TCMessagePtr Call(const std::string& destination, const char* interface, bool isOneWay = false)
{
    TCMessagePtr call(
        dbus_message_new_method_call(destination.c_str(), "/com/kelvora/Object", interface, "MethodCall"));
    dbus_message_set_no_reply(call.get(), isOneWay);
    return call;
}

TCMessagePtr Signal(const char* interface, const std::string& destination)
{
    TCMessagePtr signal(dbus_message_new_signal("/com/kelvora/ciapi/SignalObject", interface, "Signal"));
    dbus_message_set_destination(signal.get(), destination.empty() ? nullptr : destination.c_str());
    return signal;
}

std::string ReceiverNameOf(const TCBusClient& client)
{
    const std::string unique = client.Name();
    std::array<char, 256> buffer{};
    int size = buffer.size() - 1;
    IPCUtility_GenerateSubConnectionName(unique.c_str(), static_cast<int>(unique.size()), buffer.data(), &size);
    return buffer.data();
}

/// A daemon and an application, for an actor to try something on. Each name of the daemon has a connection of its own: what
/// the policy says of one name holds for whatever else its owner has.
struct SScene
{
    explicit SScene(const std::string& address) : application(ConnectAs(USER_DAEMON_IN_VIDEO, address))
    {
        for (const std::string& name : DAEMON_NAMES)
        {
            TCBusClient& owner = daemons.emplace(name, ConnectAs(USER_GAMES, address)).first->second;
            EXPECT_EQ(owner.Own(name), "yes") << name;
            owner.Match("type='signal',interface='org.example.Power'");
        }
        EXPECT_EQ(application.Own(ReceiverNameOf(application)), "yes");
        application.Match(std::string("type='signal',interface='") + SIGNALS + "'");
    }

    TCBusClient& Daemon(const std::string& name = "com.kelvora.ciapi.ICISignalSubscriber") { return daemons.at(name); }

    std::map<std::string, TCBusClient> daemons;
    TCBusClient application;
};

std::string Hears(TCBusClient& receiver, TCBusClient& sender, const TCMessagePtr& message)
{
    const dbus_uint32_t serial = sender.Send(message.get());
    return receiver.Find(sender, serial) != nullptr ? "yes" : "no";
}

/// Either the whole way there and back, or refused in so many words; a one-way call just arrives or does not.
std::string Calls(TCBusClient& caller, TCBusClient& callee, const TCMessagePtr& call)
{
    const dbus_uint32_t serial = caller.Send(call.get());
    DBusMessage* const arrived = callee.Find(caller, serial);
    if (dbus_message_get_no_reply(call.get()))
    {
        return arrived != nullptr ? "yes" : "no";
    }
    if (arrived != nullptr)
    {
        callee.Send(TCMessagePtr(dbus_message_new_method_return(arrived)).get());
    }
    const int answer = caller.AnswerTo(serial);
    const bool isConsistent =
        answer == (arrived != nullptr ? DBUS_MESSAGE_TYPE_METHOD_RETURN : DBUS_MESSAGE_TYPE_ERROR);
    return !isConsistent ? "answered by " + std::to_string(answer) : arrived != nullptr ? "yes" : "no";
}

/// What an actor tries, with one of the names of the row.
struct STry
{
    SScene& scene;
    TCBusClient& actor;
    const std::string& name;
    TCBusClient& app = scene.application;
    TCBusClient& Daemon() const { return scene.Daemon(name); }
};

std::string Own(const STry& t) { return t.actor.Own(t.name.empty() ? ReceiverNameOf(t.actor) : t.name); }

std::string HearABroadcast(const STry& t)
{
    t.actor.Match(std::string("type='signal',interface='") + SIGNALS + "'");
    return Hears(t.actor, t.scene.Daemon(), Signal(SIGNALS, ""));
}

std::string OverhearACall(const STry& t)
{
    // Only the privileged, and nobody at all on dbus-broker, may ask for other people's messages.
    const char* const rule = "eavesdrop='true',type='method_call'";
    const std::string error = t.actor.Ask(DBUS_INTERFACE_DBUS, "AddMatch", DBUS_TYPE_STRING, &rule);
    if (!error.empty())
    {
        return error == DBUS_ERROR_MATCH_RULE_INVALID ? "no" : TCBusClient::Verdict(error);
    }
    const std::string name = "com.kelvora.ciapi.ICIGeneral";
    return Hears(t.actor, t.app, Call(name, name.c_str()));
}

std::string MonitorTheBus(const STry& t)
{
    const char** const rules = nullptr;
    const unsigned flags = 0;
    return TCBusClient::Verdict(t.actor.Ask("org.freedesktop.DBus.Monitoring", "BecomeMonitor", DBUS_TYPE_ARRAY,
                                            DBUS_TYPE_STRING, &rules, 0, DBUS_TYPE_UINT32, &flags));
}

constexpr bool YES = true;
constexpr bool no = false;

/// The bases on which a row holds.
enum EBases
{
    BOTH,
    DEBIAN,
    OPEN,
};

using TNames = std::vector<std::string>;
const TNames RECEIVER = {""}; // the actor's own
const TNames BESIDE = {"com.kelvora.ciapi", "com.kelvora.ciapi.ICIOther"};
const TNames OTHERS = {"com.kelvora", "com.kelvora.subway", "com.kelvora.ciapiother", "org.example.Power"};
const TNames NONE = {""};

struct SRow
{
    const char* action;
    EBases bases;
    std::array<bool, 5> expected; ///< in the order of ACTORS
    const TNames& names;          ///< each of them
    std::string (*act)(const STry&);
};

const std::pair<const char*, TSUser> ACTORS[] = {{"the daemon", USER_GAMES},
                                                 {"a daemon in the group", USER_GAMES_IN_VIDEO},
                                                 {"an application", USER_DAEMON_IN_VIDEO},
                                                 {"a stranger", USER_NOBODY},
                                                 {"root", USER_ROOT}};

// clang-format off
// Where it is so: on both bases when the policy itself says it. Who: the daemon's user, the same in the group of the
// applications, an application, a stranger, root.
const SRow TABLE[] = {
    //                                               daemon  in group  appl.  stranger  root
    {"own the daemon's names",              BOTH,    {YES,    YES,      no,    no,       no }, DAEMON_NAMES, Own},
    {"own a receiver name",                 BOTH,    {no,     YES,      YES,   no,       no }, RECEIVER, Own},
    {"own a name beside the daemon's",      BOTH,    {no,     no,       no,    no,       no }, BESIDE, Own},
    {"own somebody else's name",            DEBIAN,  {no,     no,       no,    no,       no }, OTHERS, Own},
    {"call the daemon by name",             BOTH,    {no,     YES,      YES,   no,       no }, DAEMON_NAMES,
     [](const STry& t) { return Calls(t.actor, t.Daemon(), Call(t.name, t.name.c_str())); }},
    {"call it by its unique name",          BOTH,    {no,     YES,      YES,   no,       no }, DAEMON_NAMES,
     [](const STry& t) { return Calls(t.actor, t.Daemon(), Call(t.Daemon().Name(), t.name.c_str())); }},
    {"call it one-way",                     BOTH,    {no,     YES,      YES,   no,       no }, DAEMON_NAMES,
     [](const STry& t) { return Calls(t.actor, t.Daemon(), Call(t.name, t.name.c_str(), /*isOneWay=*/true)); }},
    {"call what else its process offers",   BOTH,    {no,     no,       no,    no,       no }, DAEMON_NAMES,
     [](const STry& t) { return Calls(t.actor, t.Daemon(), Call(t.name, "org.freedesktop.DBus.Properties")); }},
    {"call it without an interface",        BOTH,    {no,     no,       no,    no,       no }, DAEMON_NAMES,
     [](const STry& t) { return Calls(t.actor, t.Daemon(), Call(t.name, nullptr)); }},
    {"call an application",                 DEBIAN,  {no,     no,       no,    no,       no }, NONE,
     [](const STry& t) { return Calls(t.actor, t.app, Call(ReceiverNameOf(t.app), SIGNALS)); }},
    {"broadcast a signal of the daemon",    BOTH,    {YES,    YES,      no,    no,       no }, NONE,
     [](const STry& t) { return Hears(t.app, t.actor, Signal(SIGNALS, "")); }},
    {"direct one to a receiver name",       BOTH,    {YES,    YES,      no,    no,       no }, NONE,
     [](const STry& t) { return Hears(t.app, t.actor, Signal(SIGNALS, ReceiverNameOf(t.app))); }},
    {"direct one to a unique name",         BOTH,    {YES,    YES,      no,    no,       no }, NONE,
     [](const STry& t) { return Hears(t.app, t.actor, Signal(SIGNALS, t.app.Name())); }},
    {"hear what the daemon broadcasts",     BOTH,    {no,     YES,      YES,   no,       no }, NONE, HearABroadcast},
    {"hear what it directs there",          BOTH,    {no,     YES,      YES,   no,       no }, NONE,
     [](const STry& t) { return Hears(t.actor, t.scene.Daemon(), Signal(SIGNALS, t.actor.Name())); }},
    // Nothing is taken from anybody else's traffic, the daemon's own included.
    {"tell all, the daemon among them",     BOTH,    {YES,    YES,      YES,   YES,      YES}, DAEMON_NAMES,
     [](const STry& t) { return Hears(t.Daemon(), t.actor, Signal("org.example.Power", "")); }},
    {"tell the daemon something",           BOTH,    {YES,    YES,      YES,   YES,      YES}, DAEMON_NAMES,
     [](const STry& t) { return Hears(t.Daemon(), t.actor, Signal("org.example.Power", t.name)); }},
    {"call others without an interface",    OPEN,    {YES,    YES,      YES,   YES,      YES}, NONE,
     [](const STry& t) { return Calls(t.actor, t.app, Call(t.app.Name(), nullptr)); }},
    // What only the base says, for whoever relies on it.
    {"overhear a call",                     DEBIAN,  {no,     no,       no,    no,       no }, NONE, OverhearACall},
    {"monitor the bus",                     DEBIAN,  {no,     no,       no,    no,       YES}, NONE, MonitorTheBus},
};
// clang-format on

struct SSetting
{
    const char* name;
    EBusProgram program;
    bool isOpen;
    friend std::ostream& operator<<(std::ostream& out, const SSetting& setting) { return out << setting.name; }
};

class BusPolicy : public testing::TestWithParam<SSetting>
{
};
} // namespace

TEST_P(BusPolicy, SaysWhoMayDoWhat)
{
    const auto [setting, program, isOpen] = GetParam();
    if (const std::string reason = WhyNotHere(program); !reason.empty())
    {
        GTEST_SKIP() << reason;
    }
    const TCPolicyBus bus(program, isOpen ? OPEN_BASE : DEBIAN_BASE, POLICY_FOLDER);
    SScene scene(bus.Address());
    for (const SRow& row : TABLE)
    {
        for (std::size_t column = 0; column < row.expected.size() && row.bases != (isOpen ? DEBIAN : OPEN); ++column)
        {
            const auto& [who, user] = ACTORS[column];
            SCOPED_TRACE(std::string(who) + ": " + row.action);
            TCBusClient actor(ConnectAs(user, bus.Address()));
            const std::string self = actor.Name();
            const char* const text = self.c_str();
            ASSERT_EQ(actor.Ask(DBUS_INTERFACE_DBUS, "GetConnectionUnixUser", DBUS_TYPE_STRING, &text), "");
            ASSERT_EQ(actor.Answer(), user.id) << "the bus takes it for somebody else";
            for (const std::string& name : row.names)
            {
                EXPECT_EQ(row.act({scene, actor, name}), row.expected[column] ? "yes" : "no") << name;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(On, BusPolicy,
                         testing::Values(SSetting{"dbus_daemon", EBusProgram::DBUS_DAEMON, false},
                                         SSetting{"dbus_broker", EBusProgram::DBUS_BROKER, false},
                                         SSetting{"open_dbus_daemon", EBusProgram::DBUS_DAEMON, true},
                                         SSetting{"open_dbus_broker", EBusProgram::DBUS_BROKER, true}),
                         [](const auto& info) { return std::string(info.param.name); });

// An interface that is added needs its lines in the policy, and then its name in the table above.
TEST(BusPolicyNames, AreThoseOfTheInterfaces)
{
    std::vector<std::string> names;
    protocol::ForEachInterface([&]<class Interface>(protocol::TType<Interface>)
                               { names.push_back(protocol::TTable<Interface>::ConnectionName()); });
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(DAEMON_NAMES));
    EXPECT_EQ(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME, SIGNALS);
}
} // namespace CIM
