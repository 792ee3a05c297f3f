// Whose signals count: real users on a bus that lets everybody do everything.

#include "Connection.h"

#include "ci_connection/Immortal.h"
#include "ci_connection/SignalReceiver.h"
#include "privatebus/Process.h"
#include "support/InChild.h"

#include <ciapi/CIDiagnostics.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace CIM
{
namespace
{
constexpr unsigned ROOT = 0;
constexpr unsigned DAEMON = 1; // users that every Debian has
constexpr unsigned GAMES = 5;
constexpr unsigned NOBODY = 65534;

std::vector<std::string> g_received; // only the thread of the main context uses it

void Record(int, TCMessageBuffer& payload) { g_received.push_back(Text(payload)); }

/// A process of another user; leaves the bus when the object ends.
class TCSender
{
public:
    explicit TCSender(unsigned user, const std::string& name = "-")
    {
        // A line each way over two pipes: what popen gives goes one way only.
        int toSender[2];
        int fromSender[2];
        if (pipe(toSender) != 0 || pipe(fromSender) != 0)
        {
            throw std::runtime_error("no pipe");
        }
        m_process = fork();
        if (m_process == 0)
        {
            dup2(toSender[0], STDIN_FILENO);
            dup2(fromSender[1], STDOUT_FILENO);
            for (const int end : {toSender[0], toSender[1], fromSender[0], fromSender[1]})
            {
                close(end);
            }
            execl(SIGNAL_SENDER, SIGNAL_SENDER, std::to_string(user).c_str(), name.c_str(), nullptr);
            _exit(127);
        }
        close(toSender[0]);
        close(fromSender[1]);
        m_in = fdopen(toSender[1], "w");
        m_out = fdopen(fromSender[0], "r");
        EXPECT_EQ(m_Line(), "ready\n");
    }
    ~TCSender()
    {
        std::fclose(m_in);
        privatebus::WaitForEnd(m_process);
        std::fclose(m_out);
    }
    TCSender(const TCSender&) = delete;
    TCSender& operator=(const TCSender&) = delete;

    void Send(int count, const char* form = "sound")
    {
        std::fprintf(m_in, "%d %s\n", count, form);
        std::fflush(m_in);
        EXPECT_EQ(m_Line(), "sent\n");
    }

private:
    std::string m_Line()
    {
        std::array<char, 128> line{};
        return std::fgets(line.data(), line.size(), m_out) != nullptr ? line.data() : "";
    }

    pid_t m_process;
    FILE* m_in;
    FILE* m_out;
};

void Become(unsigned user)
{
    if (user != geteuid())
    {
        ASSERT_EQ(setgroups(0, nullptr), 0);
        ASSERT_EQ(setresgid(user, user, user), 0);
        ASSERT_EQ(setresuid(user, user, user), 0);
    }
}

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
        if (geteuid() != ROOT)
        {
            GTEST_SKIP() << "only root can start processes of other users";
        }
        const std::string folder = Bus().Address().substr(std::string("unix:path=").size());
        chmod(folder.substr(0, folder.rfind('/')).c_str(), 0755);
    }
};
} // namespace

TEST_F(StrangerTest, WhoCounts)
{
    const struct
    {
        unsigned receiver;
        unsigned sender;
        unsigned owner; ///< of the daemon's name, another process than the sender
        bool counts;
    } rows[] = {
        {NOBODY, GAMES, DAEMON, false}, {NOBODY, DAEMON, DAEMON, true}, {NOBODY, ROOT, DAEMON, true},
        {NOBODY, NOBODY, DAEMON, true}, {NOBODY, DAEMON, GAMES, false}, {NOBODY, GAMES, GAMES, true},
        {ROOT, NOBODY, DAEMON, false},  {ROOT, DAEMON, DAEMON, true},   {ROOT, ROOT, DAEMON, true},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.sender << " sends to " << row.receiver << ", the daemon is "
                                        << row.owner);
        InChild(
            [&row]
            {
                TCSender owner(row.owner, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME);
                TCSender sender(row.sender);
                TCSender marker(ROOT); // the last word, which always counts
                Become(row.receiver);
                TCConnection connection;
                Listen(connection);
                if (!row.counts)
                {
                    sender.Send(1, "malformed"); // would end this process
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
            TCSender later(GAMES);
            // The child's own child becomes the daemon while the receiver is running.
            int go[2];
            ASSERT_EQ(pipe(go), 0);
            const pid_t helper = fork();
            ASSERT_NE(helper, -1);
            if (helper == 0)
            {
                char byte = 0;
                close(go[1]);
                if (read(go[0], &byte, 1) == 1)
                {
                    TCSender daemon(GAMES, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME);
                    daemon.Send(100);
                    while (read(go[0], &byte, 1) > 0)
                    {
                    }
                }
                _exit(0);
            }
            close(go[0]);
            Become(NOBODY);
            TCConnection connection;
            Listen(connection);
            later.Send(10);
            EXPECT_TRUE(RunMainLoopUntil([] { return DroppedSignals() == 10; }));
            ASSERT_EQ(write(go[1], "x", 1), 1);
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 100; })) << g_received.size();
            later.Send(10); // a known stranger whose user is the daemon's now
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 110; })) << g_received.size();
            close(go[1]);
            privatebus::WaitForEnd(helper);
        });
}

// A process that was stopped finds the signals of daemons that have died since, and of strangers that have gone.
TEST_F(StrangerTest, WhatADeadDaemonSaidStillCounts)
{
    InChild(
        []
        {
            const auto sendAndLeave = [](unsigned user, const std::string& name)
            {
                TCSender sender(user, name);
                sender.Send(100);
            };
            int go[2];
            int done[2];
            ASSERT_EQ(pipe(go), 0);
            ASSERT_EQ(pipe(done), 0);
            const pid_t helper = fork();
            ASSERT_NE(helper, -1);
            if (helper == 0)
            {
                char byte = 0;
                close(go[1]);
                if (read(go[0], &byte, 1) == 1)
                {
                    sendAndLeave(DAEMON, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME);
                    sendAndLeave(GAMES, "-");
                    sendAndLeave(GAMES, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME);
                }
                _exit(write(done[1], "x", 1) == 1 ? 0 : 1);
            }
            close(go[0]);
            Become(NOBODY);
            TCConnection connection;
            Listen(connection);
            ASSERT_EQ(write(go[1], "x", 1), 1);
            char byte = 0;
            ASSERT_EQ(read(done[0], &byte, 1), 1);
            EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() + DroppedSignals() == 300; }))
                << g_received.size() << " and " << DroppedSignals();
            EXPECT_EQ(g_received.size(), 200U);
            EXPECT_EQ(DroppedSignals(), 100U);
            EXPECT_EQ(privatebus::WaitForEnd(helper), 0);
        });
}

// What the bus is asked is not waited for: the main loop goes on beside a bus that has stopped.
TEST_F(StrangerTest, ABusThatHangsHoldsNothingUp)
{
    TCConnection connection; // as long as there is none, nothing is received
    TCDBusError error;
    TCConnectionPtr bus = OpenSystemBus(error);
    ASSERT_TRUE(bus) << error.Text();
    const TCMessagePtr question(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS,
                                                             "GetConnectionUnixProcessID"));
    const char* const name = DBUS_SERVICE_DBUS;
    dbus_uint32_t busProcess = 0;
    dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    const TCMessagePtr answer(dbus_connection_send_with_reply_and_block(bus.get(), question.get(), 5000, error.Get()));
    ASSERT_TRUE(answer) << error.Text();
    ASSERT_TRUE(dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_UINT32, &busProcess, DBUS_TYPE_INVALID));
    auto* const receiver = MakeImmortal<TCSignalReceiver>(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME);
    receiver->connection = bus.release(); // as every connection that is attached to the main loop
    dbus_connection_add_filter(receiver->connection, TCConnection::t_MessageHandlerHelper, receiver, nullptr);
    receiver->Set(IPC_MESSAGE_DATA, Record);
    const TCScriptedDaemon::TMessage signal = TCScriptedDaemon::Signal("Data", "5", nullptr, "late");
    dbus_message_set_sender(signal.get(), ":1.4711");
    ASSERT_TRUE(privatebus::SendSignal(static_cast<pid_t>(busProcess), SIGSTOP));
    const auto begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 100; ++count)
    {
        EXPECT_EQ(receiver->Filter(signal.get()), DBUS_HANDLER_RESULT_HANDLED);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_TRUE(privatebus::SendSignal(static_cast<pid_t>(busProcess), SIGCONT));
    EXPECT_TRUE(RunMainLoopUntil([] { return DroppedSignals() == 100; }))
        << "nobody has that name: " << DroppedSignals();
    EXPECT_TRUE(g_received.empty());
    EXPECT_TRUE(IsErrorLine("Signals of :1.4711 are dropped: it left the bus before its user was known"));
}
} // namespace CIM
