// Whose signals count: real users on a bus that lets everybody do everything.

#include "Connection.h"

#include "ci_connection/Immortal.h"
#include "ci_connection/SignalReceiver.h"
#include "privatebus/Process.h"
#include "support/InChild.h"
#include "support/Users.h"

#include <ciapi/CIDiagnostics.h>

#include <csignal>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace CIM
{
namespace
{
std::vector<std::string> g_received; // only the thread of the main context uses it

void Record(int, TCMessageBuffer& payload) { g_received.push_back(Text(payload)); }

/// Somebody on the bus, as a user of its own; leaves the bus when the object ends.
class TCSender
{
public:
    explicit TCSender(const TSUser& user) : m_connection(ConnectAs(user, Bus().Address())) {}

    void OwnTheDaemonsName()
    {
        EXPECT_EQ(dbus_bus_request_name(m_connection.get(), CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME.c_str(), 0, nullptr),
                  DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER);
    }
    void Send(int count)
    {
        for (int number = 0; number < count; ++number)
        {
            m_Send(TCScriptedDaemon::Signal("Data", "5", nullptr, std::to_string(number)).get());
        }
        dbus_connection_flush(m_connection.get());
    }
    void SendMalformed()
    {
        m_Send(TCMessagePtr(dbus_message_new_signal("/com/kelvora/ciapi/SignalObject",
                                                    CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), "Data"))
                   .get());
    }
    /// Returns when the bus knows that it has left.
    void Leave(TCSender& witness)
    {
        const std::string name = dbus_bus_get_unique_name(m_connection.get());
        m_connection.reset();
        while (dbus_bus_name_has_owner(witness.m_connection.get(), name.c_str(), nullptr))
        {
        }
    }

private:
    void m_Send(DBusMessage* message) { dbus_connection_send(m_connection.get(), message, nullptr); }

    TCConnectionPtr m_connection;
};

void Listen(TCConnection& connection)
{
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    DBusConnection* const bus = connection.t_pMainLoopConnection;
    dbus_bus_add_match(bus, "type='signal',interface='com.kelvora.ciapi.SignalIFace'", nullptr);
    dbus_connection_flush(bus);
}

class StrangerTest : public TCBusTest
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
        {
            GTEST_SKIP() << "only root can be several users";
        }
        // libdbus reads the address of the system bus with the first connection, and never as a borrowed user.
        TCDBusError error;
        ASSERT_TRUE(OpenSystemBus(error)) << error.Text();
        const std::string folder = Bus().Address().substr(std::string("unix:path=").size());
        chmod(folder.substr(0, folder.rfind('/')).c_str(), 0755);
    }
};
} // namespace

TEST_F(StrangerTest, WhoCounts)
{
    const TSUser ROOT = USER_ROOT;
    const TSUser DAEMON = USER_DAEMON;
    const TSUser GAMES = USER_GAMES;
    const TSUser NOBODY = USER_NOBODY;
    const struct
    {
        TSUser receiver;
        TSUser sender;
        TSUser owner; ///< of the daemon's name, another client than the sender
        bool counts;
    } rows[] = {
        {NOBODY, GAMES, DAEMON, false}, {NOBODY, DAEMON, DAEMON, true}, {NOBODY, ROOT, DAEMON, true},
        {NOBODY, NOBODY, DAEMON, true}, {NOBODY, DAEMON, GAMES, false}, {NOBODY, GAMES, GAMES, true},
        {ROOT, NOBODY, DAEMON, false},  {ROOT, DAEMON, DAEMON, true},   {ROOT, ROOT, DAEMON, true},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.sender.id << " sends to " << row.receiver.id << ", the daemon is "
                                        << row.owner.id);
        InChild(
            [&row]
            {
                TCSender owner(row.owner);
                TCSender sender(row.sender);
                TCSender marker(USER_ROOT); // the last word, which always counts
                owner.OwnTheDaemonsName();
                BecomeForEver(row.receiver);
                TCConnection connection;
                Listen(connection);
                if (!row.counts)
                {
                    sender.SendMalformed(); // would end this process
                }
                sender.Send(1000);
                const std::size_t expected = row.counts ? 1000 : 0;
                const auto isOver = [&]
                { return g_received.size() + DroppedSignals() >= (row.counts ? 1000U : 1001U); };
                EXPECT_TRUE(RunMainLoopUntil(isOver)) << g_received.size() << " and " << DroppedSignals();
                marker.Send(1);
                EXPECT_TRUE(RunMainLoopUntil([&] { return g_received.size() == expected + 1; })) << g_received.size();
                for (std::size_t number = 0; number < expected; ++number)
                {
                    ASSERT_EQ(g_received[number], std::to_string(number)) << "in order";
                }
                EXPECT_EQ(DroppedSignals(), row.counts ? 0U : 1001U);
                EXPECT_EQ(TCLogCapture::Count("are dropped"), row.counts ? 0U : 2U) << "one error line, written twice";
            });
    }
}

TEST_F(StrangerTest, TheDaemonMayChangeHands)
{
    InChild(
        []
        {
            TCSender later(USER_GAMES);
            TCSender daemon(USER_GAMES);
            BecomeForEver(USER_NOBODY);
            TCConnection connection;
            Listen(connection);
            later.Send(10);
            EXPECT_TRUE(RunMainLoopUntil([] { return DroppedSignals() == 10; }));
            daemon.OwnTheDaemonsName();
            daemon.Send(100);
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 100; })) << g_received.size();
            later.Send(10); // a known stranger whose user is the daemon's now
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 110; })) << g_received.size();
        });
}

// A process that was stopped finds the signals of daemons that have died since, and of strangers that have gone.
TEST_F(StrangerTest, WhatADeadDaemonSaidStillCounts)
{
    InChild(
        []
        {
            TCSender first(USER_DAEMON);
            TCSender stranger(USER_GAMES);
            TCSender second(USER_GAMES);
            TCSender witness(USER_ROOT);
            BecomeForEver(USER_NOBODY);
            TCConnection connection;
            Listen(connection);
            for (TCSender* const sender : {&first, &stranger, &second})
            {
                if (sender != &stranger)
                {
                    sender->OwnTheDaemonsName();
                }
                sender->Send(100);
                sender->Leave(witness);
            }
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() + DroppedSignals() == 300; }))
                << g_received.size() << " and " << DroppedSignals();
            EXPECT_EQ(g_received.size(), 200U);
            EXPECT_EQ(DroppedSignals(), 100U);
        });
}

// What the bus is asked is not waited for: the main loop goes on beside a bus that has stopped.
TEST_F(StrangerTest, ABusThatHangsHoldsNothingUp)
{
    TCConnection connection; // as long as there is none, nothing is received
    TCDBusError error;
    TCConnectionPtr bus = OpenSystemBus(error);
    ASSERT_TRUE(bus) << error.Text();
    int socket = -1;
    ucred busProcess{};
    socklen_t size = sizeof busProcess;
    ASSERT_TRUE(dbus_connection_get_unix_fd(bus.get(), &socket));
    ASSERT_EQ(getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &busProcess, &size), 0);
    auto* const receiver = MakeImmortal<TCSignalReceiver>(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME);
    receiver->Open(bus.release(), TCConnection::t_MessageHandlerHelper); // kept as every connection that receives
    receiver->Set(IPC_MESSAGE_DATA, Record);
    const TCScriptedDaemon::TMessage signal = TCScriptedDaemon::Signal("Data", "5", nullptr, "late");
    dbus_message_set_sender(signal.get(), ":1.4711");
    ASSERT_TRUE(privatebus::SendSignal(busProcess.pid, SIGSTOP));
    const auto begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 100; ++count)
    {
        EXPECT_EQ(receiver->Filter(signal.get()), DBUS_HANDLER_RESULT_HANDLED);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_TRUE(privatebus::SendSignal(busProcess.pid, SIGCONT));
    EXPECT_TRUE(RunMainLoopUntil([] { return DroppedSignals() == 100; }))
        << "nobody has that name: " << DroppedSignals();
    EXPECT_TRUE(g_received.empty());
    EXPECT_TRUE(IsErrorLine("Signals of :1.4711 are dropped: it left the bus before its user was known"));
}
} // namespace CIM
