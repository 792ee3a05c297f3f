// What crosses the bus in a call, and what the caller gets back from a daemon that answers well.

#include "Connection.h"
#include "support/InChild.h"

#include <ciapi/CIDiagnostics.h>

#include <tvplatform/ResourceManager.h>

#include <atomic>
#include <gmock/gmock.h>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
std::mutex g_loansMutex;
std::vector<std::string> g_loans;

void RecordLoan(std::string text)
{
    const std::lock_guard lock(g_loansMutex);
    g_loans.push_back(std::move(text));
}
} // namespace

// The program's own resource manager, in place of the platform's.
extern "C" int resource_set_cpu_inheritance(pid_t thread, const char* destination, int timeout_ms)
{
    RecordLoan("set " + std::to_string(thread) + " " + destination + " " + std::to_string(timeout_ms));
    return 0;
}

extern "C" int resource_clear_cpu_inheritance(pid_t thread, const char* destination)
{
    RecordLoan("clear " + std::to_string(thread) + " " + destination);
    return 0;
}

namespace CIM
{
namespace
{
// A message as text: what matters of its header, then each argument as type:value.
std::string Describe(DBusMessage* message)
{
    std::string text = std::string(dbus_message_get_destination(message)) + " " + dbus_message_get_path(message) + " " +
                       dbus_message_get_interface(message) + "." + dbus_message_get_member(message) +
                       (dbus_message_get_no_reply(message) ? " no-reply" : "");
    DBusMessageIter iter;
    dbus_message_iter_init(message, &iter);
    for (int type = 0; (type = dbus_message_iter_get_arg_type(&iter)) != DBUS_TYPE_INVALID;
         dbus_message_iter_next(&iter))
    {
        text += std::string(" ") + static_cast<char>(type) + ":";
        if (type == DBUS_TYPE_ARRAY)
        {
            text += TCScriptedDaemon::Payload(message);
            continue;
        }
        DBusBasicValue value;
        dbus_message_iter_get_basic(&iter, &value);
        text += type == DBUS_TYPE_STRING ? value.str : std::to_string(value.i32);
    }
    return text;
}

// Answers every call, keeps its description, and gives the statuses in turn (1 when they are used up).
class TCRecorder
{
public:
    explicit TCRecorder(std::vector<unsigned char> statuses = {}) : m_statuses(std::move(statuses)) {}

    TCScriptedDaemon::TMessage operator()(const TCScriptedDaemon::TMessage& request)
    {
        const std::lock_guard lock(m_mutex);
        m_seen.push_back(Describe(request.get()));
        const unsigned char status = m_seen.size() <= m_statuses.size() ? m_statuses[m_seen.size() - 1] : 1;
        return dbus_message_get_no_reply(request.get()) ? nullptr : TCScriptedDaemon::Reply(request, status, "ok");
    }
    std::vector<std::string> Seen()
    {
        const std::lock_guard lock(m_mutex);
        return m_seen;
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_seen;
    std::vector<unsigned char> m_statuses;
};

using CallTest = TCBusTest;
} // namespace

TEST_F(CallTest, MessagesHaveTheDaemonsLayout)
{
    // The fourth reply asks for the program's name again.
    TCRecorder recorder({1, 1, 1, 0x81, 0x81, 1, 1});
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME}, std::ref(recorder));
    TCConnection connection;
    EXPECT_TRUE(CallAsync(connection, 20, "a")); // before a reply, one-way calls carry the name each time
    EXPECT_TRUE(CallAsync(connection, 21, ""));
    EXPECT_EQ(Call(connection, 1, "first").payload, "ok");
    EXPECT_TRUE(Call(connection, 2, "asks").handled);
    EXPECT_TRUE(Call(connection, 3, "asks").handled);
    EXPECT_TRUE(Call(connection, -4, "").handled);
    EXPECT_TRUE(Call(connection, 5, "").handled);
    EXPECT_TRUE(CallAsync(connection, 6, "z"));
    EXPECT_TRUE(Call(connection, 1, "again").handled);

    const std::string head = "com.kelvora.ciapi.ICIGeneral /com/kelvora/Object com.kelvora.ciapi.ICIGeneral.MethodCall";
    const std::string pid = std::to_string(getpid());
    const std::string name = " s:" + std::string(GetProgName());
    EXPECT_THAT(recorder.Seen(),
                testing::ElementsAre(head + " no-reply i:196628 i:1 i:" + pid + name + " a:a", // 3 << 16 | 20
                                     head + " no-reply i:196629 i:0 i:" + pid + name,
                                     head + " i:131073 i:5 i:" + pid + name + " a:first", // 2 << 16 | 1
                                     head + " i:2 i:4 i:" + pid + " a:asks",
                                     head + " i:131075 i:4 i:" + pid + name + " a:asks",
                                     head + " i:196604 i:0 i:" + pid + name, // 2 << 16 | 0xfffc
                                     head + " i:5 i:0 i:" + pid, head + " no-reply i:65542 i:1 i:" + pid + " a:z",
                                     head + " i:1 i:5 i:" + pid + " a:again"));
}

TEST_F(CallTest, PreparedMessageEqualsOneBuiltByHand)
{
    TCConnection connection;
    for (const std::string payload : {"", "abc"})
    {
        TCMessageBuffer input;
        input.PushBorrowed(payload.size(), payload.data());
        DBusMessage* const message = dbus_message_new_method_call("a.b", "/com/kelvora/Object", "a.b", "MethodCall");
        EXPECT_TRUE(connection.t_PrepareMessage(message, 9, input, 3));
        EXPECT_EQ(Describe(message), "a.b /com/kelvora/Object a.b.MethodCall no-reply i:196617 i:" +
                                         std::to_string(payload.size()) + " i:" + std::to_string(getpid()) +
                                         " s:" + GetProgName() + (payload.empty() ? "" : " a:" + payload));
        dbus_message_unref(message);
    }
}

TEST_F(CallTest, PayloadsOfEverySizeComeBack)
{
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME}, Echo);
    TCConnection connection;
    for (const std::size_t size : {0, 1, 63, 4095, 4096, 4097, 16000, 16384, 17000, 300000, 5000000, 0x1000000})
    {
        std::string payload(size, '\0');
        for (std::size_t index = 0; index < size; ++index)
        {
            payload[index] = static_cast<char>(index * 7 + index / 251 + size);
        }
        TCMessageBuffer input;
        TCMessageBuffer output;
        output.PushConcatenated(1, "<"); // appended to, not replaced
        input.PushConcatenated(static_cast<int>(size / 3), payload.data());
        input.PushBorrowed(size - size / 3, payload.data() + size / 3);
        EXPECT_TRUE(connection.Call(CI_GENERAL_CONNECTION_NAME, 1, input, output)) << size;
        EXPECT_TRUE(Text(output) == "<" + payload) << size;
        EXPECT_EQ(input.GetUnreadSize(), size);
    }
    EXPECT_FALSE(Call(connection, 1, std::string(0x1000001, 'x')).handled);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_PrepareMessage] Message exceeds allowed limit for message size "
                            "(size: 16777217, limit: 16777216)"));
    EXPECT_FALSE(CallAsync(connection, 1, std::string(0x1000001, 'x')));
}

TEST_F(CallTest, LargeOneWayCallLeavesWithoutFurtherCalls)
{
    std::atomic<std::size_t> received{0};
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TCScriptedDaemon::TMessage& request) -> TCScriptedDaemon::TMessage
                            {
                                received = TCScriptedDaemon::Payload(request.get()).size();
                                received.notify_all();
                                return nullptr;
                            });
    TCConnection connection;
    EXPECT_TRUE(CallAsync(connection, 1, std::string(5000000, 'x')));
    received.wait(0);
    EXPECT_EQ(received.load(), 5000000U);
}

// What others send to the process's name on the bus comes in between, and must neither be lost nor keep an answer away.
TEST_F(CallTest, OthersMayCallTheCaller)
{
    const struct
    {
        const char* interfaceName;
        const char* member;
        std::string answer; // the error's name, or empty
    } rows[] = {
        {DBUS_INTERFACE_PEER, "Ping", ""},
        {DBUS_INTERFACE_PEER, "Pong", DBUS_ERROR_UNKNOWN_METHOD},
        {"com.kelvora.ciapi.ICIGeneral", "MethodCall", DBUS_ERROR_UNKNOWN_METHOD},
    };
    TCDBusError error;
    const TCConnectionPtr stranger = OpenSystemBus(error);
    ASSERT_TRUE(stranger) << error.Text();
    std::vector<std::string> answers;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TCScriptedDaemon::TMessage& request)
                            {
                                for (const auto& row : rows)
                                {
                                    TCDBusError failure;
                                    const TCMessagePtr call(dbus_message_new_method_call(
                                        dbus_message_get_sender(request.get()), "/a", row.interfaceName, row.member));
                                    const TCMessagePtr answer(dbus_connection_send_with_reply_and_block(
                                        stranger.get(), call.get(), 10000, failure.Get()));
                                    answers.emplace_back(failure.Name());
                                }
                                return Echo(request);
                            });
    TCConnection connection;
    EXPECT_EQ(Call(connection, 1, "x").payload, "x");
    ASSERT_EQ(answers.size(), std::size(rows));
    for (std::size_t row = 0; row < std::size(rows); ++row)
    {
        EXPECT_EQ(answers[row], rows[row].answer) << rows[row].member;
    }
}

TEST_F(CallTest, ThreadsGetTheirOwnAnswersWhateverTheOrder)
{
    // Every third request is answered only after the next one.
    TCScriptedDaemon::TMessage held;
    TCScriptedDaemon* self = nullptr;
    int count = 0;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TCScriptedDaemon::TMessage& request) -> TCScriptedDaemon::TMessage
                            {
                                if (dbus_message_get_no_reply(request.get()))
                                {
                                    return nullptr;
                                }
                                if (++count % 3 == 0 && !held && TCScriptedDaemon::Payload(request.get()) != "push")
                                {
                                    held = Echo(request);
                                    return nullptr;
                                }
                                const auto reply = Echo(request);
                                if (const auto late = std::exchange(held, nullptr))
                                {
                                    self->Send(reply);
                                    return late;
                                }
                                return reply;
                            });
    self = &daemon;
    TCConnection connection;
    std::atomic<int> wrong{0};
    std::atomic<int> working{4};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
    {
        callers.emplace_back(
            [&, caller]
            {
                for (int number = 0; number < 500; ++number)
                {
                    const std::string payload =
                        std::string(number % 50 == 0 ? 700000 : 0, 'x') + std::to_string(caller * 10000 + number);
                    const SAnswer answer = Call(connection, static_cast<short>(number), payload);
                    wrong += answer.handled && answer.payload == payload ? 0 : 1;
                    CallAsync(connection, 1, payload);
                }
                --working;
            });
    }
    while (working > 0) // releases a request that is held with nobody left to push it out
    {
        Call(connection, 1, "push");
    }
    for (std::thread& caller : callers)
    {
        caller.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(CallTest, PriorityIsLentDuringMethods7And8Only)
{
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [](const TCScriptedDaemon::TMessage& request)
                            {
                                RecordLoan("served");
                                return Echo(request);
                            });
    TCConnection connection;
    g_loans.clear();
    for (const short methodId : {6, 7, 8, 9})
    {
        EXPECT_TRUE(Call(connection, methodId, "").handled);
    }
    CallAsync(connection, 7, "");
    Call(connection, 8, std::string(0x1000001, 'x')); // refused before it is sent: given back all the same
    EXPECT_TRUE(Call(connection, 1, "").handled);
    const std::lock_guard lock(g_loansMutex);
    EXPECT_THAT(g_loans, testing::ElementsAre("served", "set 0 ci-daemon 1999", "served", "clear 0 ci-daemon",
                                              "set 0 ci-daemon 1999", "served", "clear 0 ci-daemon", "served",
                                              testing::AnyOf("served", "set 0 ci-daemon 1999"), testing::_, testing::_,
                                              "served"));
    EXPECT_EQ(std::count(g_loans.begin(), g_loans.end(), "set 0 ci-daemon 1999"), 3);
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::StrartPriorityInheritance]  Activating inheritance"), 3U);
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::StopPriorityInheritance]  Deactivating inheritance"), 3U);
}

TEST_F(CallTest, ChildOfAForkLeavesTheParentsConnectionAlone)
{
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME}, Echo);
    TCConnection connection;
    EXPECT_EQ(Call(connection, 1, "before").payload, "before");
    InChild(
        [&]
        {
            TCLogCapture::Clear();
            EXPECT_FALSE(Call(connection, 1, "child").handled);
            EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::Call] The connection belongs to the parent process"));
            EXPECT_FALSE(CallAsync(connection, 1, "child"));
            EXPECT_FALSE(connection.AddMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()));
            EXPECT_FALSE(connection.RemoveMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()));
            EXPECT_FALSE(connection.WaitForCreateInterface(CI_GENERAL_CONNECTION_NAME.c_str()));
        });
    EXPECT_EQ(Call(connection, 1, "after").payload, "after");
}
} // namespace CIM
