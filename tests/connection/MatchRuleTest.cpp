// Match rules: their text, and what the bus makes of them.

#include "Connection.h"

#include "bus/Handles.h"

#include <atomic>
#include <thread>
#include <vector>

namespace CIM
{
namespace
{
std::vector<std::string> g_matched;

void RecordMatch(int messageId, TCMessageBuffer& payload)
{
    g_matched.push_back(std::to_string(messageId) + " " + Text(payload) + " from " + payload.GetSender());
}

class MatchRuleTest : public TCBusTest
{
protected:
    MatchRuleTest() { g_matched.clear(); }
};
} // namespace

TEST_F(MatchRuleTest, TextAndCut)
{
    TCConnection connection;
    char rule[256];
    connection.t_CreateMatchRule(IPC_MESSAGE_SIGNAL, 5, TVSHandle(static_cast<EProfile>(1), 2), rule);
    EXPECT_STREQ(rule, "path='/com/kelvora/ciapi/SignalObject', type='signal', "
                       "interface='com.kelvora.ciapi.SignalIFace', member='Signal', arg0='5', arg1='65538'");
    connection.t_CreateMatchRule(IPC_MESSAGE_HT, -1, TVSHandle(PROFILE_NONE, 0xffff), rule);
    EXPECT_STREQ(rule, "path='/com/kelvora/ciapi/SignalObject', type='signal', "
                       "interface='com.kelvora.ciapi.SignalIFace', member='Ht', arg0='-1', arg1='4294967295'");
    connection.t_CreateMatchRule(IPC_MESSAGE_ATSC3LINKAGE, 17, rule);
    EXPECT_STREQ(rule, "path='/com/kelvora/ciapi/SignalObject', type='signal', "
                       "interface='com.kelvora.ciapi.SignalIFace', member='ATSC3Linkage', arg0='17'");

    // A rule that does not fit, or that the bus cannot read, is refused by the bus and hurts nobody.
    for (const std::string& path : {"/" + std::string(300, 'a'), std::string("/'"), std::string("/\xff")})
    {
        struct TSOther : TCCIMIPCConnection
        {
            using TCCIMIPCConnection::t_CreateMatchRule;
            using TCCIMIPCConnection::TCCIMIPCConnection;
        } other("a.b", path, false);
        other.t_CreateMatchRule(IPC_MESSAGE_SIGNAL, 5, rule);
        EXPECT_LT(std::string(rule).size(), sizeof rule);
        EXPECT_FALSE(other.AddMatchRule(IPC_MESSAGE_SIGNAL, 5, TVSHandle()));
    }
}

TEST_F(MatchRuleTest, BusPassesOnlyWhatWasAskedFor)
{
    TCScriptedDaemon daemon({}, Echo);
    TCConnection connection;
    const TVSHandle handle(static_cast<EProfile>(1), 2);
    connection.SetCallbackFunction(IPC_MESSAGE_SIGNAL, RecordMatch);
    EXPECT_TRUE(connection.AddMatchRule(IPC_MESSAGE_SIGNAL, 5, handle));
    EXPECT_TRUE(connection.AddMatchRule(IPC_MESSAGE_SIGNAL, 6, handle));
    const auto sendAll = [&]
    {
        daemon.Send(TCScriptedDaemon::Signal("Signal", "5", "65538", "mine"));
        daemon.Send(TCScriptedDaemon::Signal("Signal", "5", "65539", "other handle"));
        daemon.Send(TCScriptedDaemon::Signal("Signal", "7", "65538", "other identifier"));
        daemon.Send(TCScriptedDaemon::Signal("PipelineSignal", "5", "65538", "other type"));
        daemon.Send(TCScriptedDaemon::Signal("Signal", "6", "65538", "last"));
    };
    sendAll();
    EXPECT_TRUE(RunMainLoopUntil([] { return g_matched.size() >= 2; }));
    const std::string sender = " from " + daemon.UniqueName();
    EXPECT_EQ(g_matched, (std::vector<std::string>{"5 mine" + sender, "6 last" + sender}));

    g_matched.clear();
    EXPECT_TRUE(connection.RemoveMatchRule(IPC_MESSAGE_SIGNAL, 5, handle));
    sendAll();
    EXPECT_TRUE(RunMainLoopUntil([] { return !g_matched.empty(); }));
    EXPECT_EQ(g_matched, (std::vector<std::string>{"6 last" + sender}));

    EXPECT_FALSE(connection.RemoveMatchRule(IPC_MESSAGE_SIGNAL, 5, handle));
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::RemoveMatchRule] Cannot remove match rule: "));
}

TEST_F(MatchRuleTest, LimitOfTheBus)
{
    TCScriptedDaemon daemon({}, Echo);
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_SIGNAL, RecordMatch);
    for (int identifier = 1; identifier < MATCH_RULE_LIMIT; ++identifier) // one is the library's own
    {
        EXPECT_TRUE(connection.AddMatchRule(IPC_MESSAGE_SIGNAL, identifier, TVSHandle(PROFILE_MAIN, 1)));
    }
    EXPECT_FALSE(connection.AddMatchRule(IPC_MESSAGE_SIGNAL, -1, TVSHandle(PROFILE_MAIN, 1)));
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::AddMatchRule] Cannot add match rule: "));
    daemon.Send(TCScriptedDaemon::Signal("Signal", "1", "1", "x")); // the rules before still work
    EXPECT_TRUE(RunMainLoopUntil([] { return g_matched.size() == 1; }));
    EXPECT_TRUE(connection.RemoveMatchRule(IPC_MESSAGE_SIGNAL, 2, TVSHandle(PROFILE_MAIN, 1)));
    EXPECT_TRUE(connection.AddMatchRule(IPC_MESSAGE_SIGNAL, -1, TVSHandle(PROFILE_MAIN, 1)));
}

TEST_F(MatchRuleTest, SignalsReadWhileARuleIsChangedAreDispatchedAtOnce)
{
    TCScriptedDaemon daemon({}, Echo);
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_SIGNAL, RecordMatch);
    const auto signal = TCScriptedDaemon::Signal("Signal", "1", "1", "x");
    dbus_message_set_destination(signal.get(), connection.GetReceiverId().c_str());
    daemon.Send(signal);
    // What another connection gets behind it says that the signal is in front of the bus's next answer.
    TCDBusError error;
    const TCConnectionPtr witness = OpenSystemBus(error);
    ASSERT_TRUE(witness) << error.Text();
    const auto fence = TCScriptedDaemon::Signal("Signal", "1", "1", "x");
    dbus_message_set_destination(fence.get(), dbus_bus_get_unique_name(witness.get()));
    daemon.Send(fence);
    for (TCMessagePtr seen; !seen || !dbus_message_has_sender(seen.get(), daemon.UniqueName().c_str());)
    {
        seen.reset(dbus_connection_pop_message(witness.get()));
        ASSERT_TRUE(seen || dbus_connection_read_write(witness.get(), 10'000));
    }
    ASSERT_TRUE(connection.AddMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()));
    EXPECT_TRUE(g_matched.empty());
    const auto start = std::chrono::steady_clock::now();
    while (g_matched.empty() && std::chrono::steady_clock::now() - start < std::chrono::seconds(10))
    {
        g_main_context_iteration(nullptr, FALSE); // nothing more comes: the loop must find it by itself
    }
    EXPECT_EQ(g_matched.size(), 1U);
}

// The main loop and who waits for the bus's answer find the end of the bus at the same moment.
TEST_F(MatchRuleTest, ABusThatDiesWhileRulesAreChanged)
{
    for (int round = 0; round < 60; ++round)
    {
        Bus().Restart();
        TCConnection connection;
        std::atomic<int> changes{0};
        std::atomic<bool> isOver{false};
        std::thread changer(
            [&]
            {
                while (connection.AddMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()) &&
                       connection.RemoveMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()))
                {
                    ++changes;
                }
                isOver = true;
            });
        EXPECT_TRUE(RunMainLoopUntil([&] { return changes >= 3; }));
        std::thread killer([] { Bus().Stop(); });
        EXPECT_TRUE(RunMainLoopUntil([&] { return isOver.load(); }));
        changer.join();
        killer.join();
    }
}
} // namespace CIM
