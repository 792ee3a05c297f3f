// Calls that get no good answer: the caller is told false, the log says why, and nothing hangs.

#include "ci_connection/CallRouter.h"
#include "Connection.h"
#include "support/InChild.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <functional>
#include <future>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <utility>
#include <vector>

namespace CIM
{
namespace
{
using TMessage = TCScriptedDaemon::TMessage;

constexpr const char* NO_INTERFACE = "com.kelvora.ciapi.Nobody";

TMessage Empty(const TMessage& request) { return {dbus_message_new_method_return(request.get()), dbus_message_unref}; }

// A reply with arguments given as to dbus_message_append_args.
template <class... TCArguments>
TMessage With(const TMessage& request, TCArguments... arguments)
{
    TMessage reply = Empty(request);
    dbus_message_append_args(reply.get(), arguments..., DBUS_TYPE_INVALID);
    return reply;
}

const unsigned char HANDLED = 1;
const dbus_int32_t THREE = 3;
const char* const BYTES = "abc";
const char* const TEXTS[] = {"one", "two"};
const char* const* const TEXT_LIST = TEXTS;

class CallFaultTest : public TCBusTest
{
};

thread_local std::function<void()> g_failNextSend;
} // namespace

// In the place of the system's own: a thread's next message may fail, after something has happened.
extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags)
{
    if (g_failNextSend)
    {
        std::exchange(g_failNextSend, nullptr)();
        errno = ENOBUFS;
        return -1;
    }
    static const auto send = reinterpret_cast<decltype(&sendmsg)>(dlsym(RTLD_NEXT, "sendmsg"));
    return send(socket, message, flags);
}

TEST_F(CallFaultTest, RepliesThatAreNotWhatTheyShouldBe)
{
    const struct
    {
        std::function<TMessage(const TMessage&)> answer;
        bool handled;
        const char* payload;
        const char* line;
    } rows[] = {
        {[](const TMessage& request) { return TCScriptedDaemon::Error(request, "org.kelvora.Oops", "no card"); }, false,
         "",
         "[TCCIMIPCConnection::Call][com.kelvora.ciapi.ICIGeneral:12] Error answer received [Error name: "
         "org.kelvora.Oops]: no card"},
        {[](const TMessage& request)
         { return TMessage(dbus_message_new_error(request.get(), "org.kelvora.Oops", nullptr), dbus_message_unref); },
         false, "", "[TCCIMIPCConnection::Call][com.kelvora.ciapi.ICIGeneral:12] Problem with reading error answer: "},
        {Empty, false, "", "[TCCIMIPCConnection::Call] Reply message has no arguments.(dbus_message_iter_init)"},
        {[](const TMessage& request) { return TCScriptedDaemon::Reply(request, 0, "abc"); }, false, "",
         "Reply message is broken. Probably noone is listening to method calls. Reply value: 0"},
        {[](const TMessage& request) { return TCScriptedDaemon::Reply(request, 0x7e, "abc"); }, false, "",
         "Reply message is broken. Probably noone is listening to method calls. Reply value: 126"},
        {[](const TMessage& request)
         { return With(request, DBUS_TYPE_INT32, &THREE, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &BYTES, 3); },
         false, "", "[TCCIMIPCConnection::Call] Incorrect type of argument. Expected DBUS_TYPE_BYTE."},
        {[](const TMessage& request)
         { return With(request, DBUS_TYPE_BYTE, &HANDLED, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &BYTES, 3); },
         true, "", "[TCCIMIPCConnection::Call] Incorrect type of argument. Expected DBUS_TYPE_INT32."},
        {[](const TMessage& request) { return With(request, DBUS_TYPE_BYTE, &HANDLED, DBUS_TYPE_INT32, &THREE); }, true,
         "", "[TCCIMIPCConnection::Call] Incorrect type of argument. Expected DBUS_TYPE_ARRAY."},
        {[](const TMessage& request)
         {
             return With(request, DBUS_TYPE_BYTE, &HANDLED, DBUS_TYPE_INT32, &THREE, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING,
                         &TEXT_LIST, 2);
         },
         true, "", "[TCCIMIPCConnection::Call] Incorrect type of argument. Expected DBUS_TYPE_ARRAY."},
        {[](const TMessage& request) { return TCScriptedDaemon::Reply(request, 1, 1000000, "abc"); }, true, "abc",
         "[TCCIMIPCConnection::Call] Payload length 1000000 does not match the 3 bytes received"},
        {[](const TMessage& request) { return TCScriptedDaemon::Reply(request, 1, 2, "abc"); }, true, "ab",
         "Payload length 2 does not match the 3 bytes received"},
        {[](const TMessage& request) { return TCScriptedDaemon::Reply(request, 1, -1, "abc"); }, true, "",
         "Payload length -1 does not match the 3 bytes received"},
    };
    std::function<TMessage(const TMessage&)> answer = Echo;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME}, [&](const TMessage& request) { return answer(request); });
    TCConnection connection;
    for (const auto& row : rows)
    {
        TCLogCapture::Clear();
        answer = row.answer;
        const SAnswer result = Call(connection, 12, "x");
        EXPECT_EQ(result.handled, row.handled) << row.line;
        EXPECT_EQ(result.payload, row.payload) << row.line;
        EXPECT_TRUE(IsErrorLine(row.line)) << row.line;
        answer = Echo;
        EXPECT_EQ(Call(connection, 1, "still well").payload, "still well") << row.line;
    }
}

TEST_F(CallFaultTest, NamesThatLibdbusDoesNotTake)
{
    TCConnection connection;
    for (const std::string& name : {std::string("no dots"), std::string(), std::string("a.b\0c", 5),
                                    std::string("a..b"), std::string("a.b-c"), "a." + std::string(255, 'b')})
    {
        TCLogCapture::Clear();
        TCMessageBuffer input;
        TCMessageBuffer output;
        EXPECT_FALSE(connection.Call(name, 1, input, output)) << name;
        EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::Call] Cannot create call message.")) << name;
        EXPECT_FALSE(connection.CallAsync(name, 1, input)) << name;
        EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::CallAsync] Cannot create call message.")) << name;
    }
    for (const char* const name : {"no dots", "", static_cast<const char*>(nullptr)})
    {
        TCLogCapture::Clear();
        EXPECT_FALSE(connection.WaitForCreateInterface(name));
        EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::WaitForCreateInterface] DBus Error while checking name owner: "));
    }
}

TEST_F(CallFaultTest, ProgramNameThatIsNotUtf8)
{
    TCConnection connection;
    InChild(
        []
        {
            char name[] = "t\xff";
            program_invocation_short_name = name;
            TCConnection own;
            EXPECT_FALSE(Call(own, 1, "x").handled);
            EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_PrepareMessage] The program name is not UTF-8"));
        });
}

TEST_F(CallFaultTest, DaemonThatIsAbsentOrGoesAway)
{
    TCConnection connection;
    EXPECT_FALSE(Call(connection, 1, "x").handled);
    EXPECT_TRUE(IsErrorLine("Error answer received [Error name: org.freedesktop.DBus.Error.ServiceUnknown]"));

    TCScriptedDaemon* self = nullptr;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TMessage&)
                            {
                                self->Vanish();
                                return nullptr;
                            });
    self = &daemon;
    EXPECT_FALSE(Call(connection, 1, "x").handled);
    EXPECT_TRUE(IsErrorLine("Error answer received [Error name: org.freedesktop.DBus.Error.NoReply]"));
}

TEST_F(CallFaultTest, TimeIsOverForEachCallAndLateRepliesAreDropped)
{
    std::vector<TMessage> requests;
    std::atomic<int> count{0};
    std::atomic<bool> isOver{false};
    TCScriptedDaemon* self = nullptr;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TMessage& request) -> TMessage
                            {
                                requests.push_back(request);
                                const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
                                while (count == 4 && !isOver && std::chrono::steady_clock::now() < end)
                                {
                                    self->Send(Echo(requests.front())); // there is always something to read
                                }
                                return ++count <= 3 ? nullptr : Echo(request);
                            });
    self = &daemon;
    TCDBusError error;
    const TCConnectionPtr connection = OpenUnregisteredSystemBus(std::chrono::seconds(25), error);
    ASSERT_TRUE(connection) << error.Text();
    int socket = -1;
    dbus_connection_get_unix_fd(connection.get(), &socket);
    {
        TCCallRouter router(socket, std::chrono::milliseconds(150));
        const auto call = [&router](const std::string& name, const char* interfaceName, const char* member)
        {
            const TMessage request(dbus_message_new_method_call(name.c_str(), "/a", interfaceName, member),
                                   dbus_message_unref);
            TCMessagePtr reply;
            EXPECT_EQ(router.Call(request.get(), reply), TCCallRouter::EResult::ANSWERED);
            const char* const error = dbus_message_get_error_name(reply.get());
            return std::string(error != nullptr ? error : "reply");
        };
        EXPECT_EQ(call(DBUS_SERVICE_DBUS, DBUS_INTERFACE_DBUS, "Hello"), "reply");
        const auto callDaemon = [&call] { return call(CI_GENERAL_CONNECTION_NAME, "a.b", "MethodCall"); };
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 3; ++caller)
        {
            callers.emplace_back([&] { EXPECT_EQ(callDaemon(), "org.freedesktop.DBus.Error.NoReply"); });
        }
        for (std::thread& caller : callers)
        {
            caller.join();
        }
        ASSERT_EQ(count, 3);
        for (int late = 0; late < 3; ++late)
        {
            daemon.Send(Echo(requests[static_cast<std::size_t>(late)]));
        }
        EXPECT_EQ(callDaemon(), "reply");
        EXPECT_EQ(callDaemon(), "org.freedesktop.DBus.Error.NoReply");
        isOver = true;
    }
}

// While a message is being sent that will fail, its caller is known to who reads, and must not be left the lead.
TEST_F(CallFaultTest, ACallWhoseSendFailsKeepsNobodyFromReading)
{
    std::vector<TMessage> requests;
    std::atomic<std::size_t> count{0};
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TMessage& request) -> TMessage
                            {
                                requests.push_back(request);
                                ++count;
                                count.notify_all();
                                return nullptr;
                            });
    TCConnection connection;
    std::future<SAnswer> answers[2];
    for (std::size_t call = 0; call < 2; ++call)
    {
        answers[call] = std::async(std::launch::async, [&] { return Call(connection, 1, "x"); });
        count.wait(call);
    }
    g_failNextSend = [&]
    {
        daemon.Send(Echo(requests[0]));
        EXPECT_EQ(answers[0].wait_for(std::chrono::seconds(10)), std::future_status::ready);
    };
    EXPECT_FALSE(Call(connection, 1, "fails").handled);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::Call] Cannot send call message. Out of memory."));
    daemon.Send(Echo(requests[1]));
    EXPECT_EQ(answers[1].wait_for(std::chrono::seconds(10)), std::future_status::ready) << "nobody reads";
    EXPECT_TRUE(answers[0].get().handled);
    EXPECT_TRUE(answers[1].get().handled);
}

TEST_F(CallFaultTest, BusThatGoesAwayEndsEveryCallAtOnce)
{
    std::atomic<int> waiting{0};
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME},
                            [&](const TMessage&) -> TMessage
                            {
                                ++waiting;
                                waiting.notify_all();
                                return nullptr;
                            });
    TCConnection connection;
    std::atomic<int> handled{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 3; ++caller)
    {
        callers.emplace_back([&] { handled += Call(connection, 1, "x").handled ? 1 : 0; });
    }
    for (int seen = 0; (seen = waiting.load()) < 3;)
    {
        waiting.wait(seen);
    }
    Bus().Stop();
    for (std::thread& caller : callers)
    {
        caller.join();
    }
    EXPECT_EQ(handled, 0);
    EXPECT_EQ(TCLogCapture::Count("Error answer received [Error name: org.freedesktop.DBus.Error.NoReply]: Did not "
                                  "receive a reply."),
              6U);

    TCLogCapture::Clear();
    EXPECT_FALSE(Call(connection, 1, "x").handled);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::Call] Pending call error. Probably connection is broken."));
    CallAsync(connection, 1, std::string(1000000, 'x')); // returns, whatever it says
    EXPECT_FALSE(connection.WaitForCreateInterface(CI_GENERAL_CONNECTION_NAME.c_str()));
    EXPECT_FALSE(connection.AddMatchRule(IPC_MESSAGE_DATA, 1, TVSHandle()));
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::AddMatchRule] Cannot add match rule: "));
}

TEST_F(CallFaultTest, CallNoticesThatTheBusLeftWhileNobodyLooked)
{
    TCConnection connection;
    Bus().Stop();
    EXPECT_FALSE(Call(connection, 1, "x").handled);
    EXPECT_FALSE(Call(connection, 1, std::string(1000000, 'x')).handled);
}

TEST_F(CallFaultTest, WaitingForAnInterface)
{
    TCConnection connection;
    EXPECT_FALSE(connection.WaitForCreateInterface(NO_INTERFACE));
    EXPECT_EQ(TCFakeClock::Sleeps(), 150U);
    EXPECT_EQ(TCFakeClock::Milliseconds(), 15000U);
    EXPECT_EQ(TCLogCapture::Count(
                  "[TCCIMIPCConnection::WaitForCreateInterface] DBus waiting for com.kelvora.ciapi.Nobody interface. "
                  "Try: 150/150"),
              1U);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::WaitForCreateInterface] TIMEOUT, Cannot connect to the "
                            "com.kelvora.ciapi.Nobody interface"));

    TCFakeClock::Clear();
    std::unique_ptr<TCScriptedDaemon> daemon;
    TCFakeClock::OnSleep(
        [&](unsigned int)
        {
            if (TCFakeClock::Sleeps() == 3)
            {
                daemon = std::make_unique<TCScriptedDaemon>(std::vector<std::string>{NO_INTERFACE}, Echo);
            }
        });
    EXPECT_TRUE(connection.WaitForCreateInterface(NO_INTERFACE));
    EXPECT_EQ(TCFakeClock::Sleeps(), 3U);
}

TEST_F(CallFaultTest, WithoutTvServicesNobodyIsWaitedFor)
{
    InChild( // what the set supports is read once per process
        []
        {
            TCFeatureKeys keys;
            TCConnection connection;
            EXPECT_FALSE(connection.WaitForCreateInterface(NO_INTERFACE)); // no such key: supported, and asked again
            keys.Set(CI_FMS_TVS_SUPPORTED, "false");
            TCFakeClock::Clear();
            EXPECT_TRUE(connection.WaitForCreateInterface(NO_INTERFACE));
            EXPECT_EQ(TCFakeClock::Sleeps(), 0U);
            EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::WaitForCreateInterface] IsTVSSupported() is false, just "
                                    "return true"));
        });
}

TEST_F(CallFaultTest, BusThatComesLate)
{
    Bus().Stop();
    TCFakeClock::OnSleep(
        [&](unsigned int)
        {
            if (TCFakeClock::Sleeps() == 60 - 1)
            {
                Bus().Restart();
            }
        });
    TCConnection connection;
    EXPECT_EQ(TCFakeClock::Milliseconds(), 59000U);
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::t_CreateConnection] Failed to connect to the D-BUS daemon: "),
              2U * 59);
    EXPECT_TRUE(IsErrorLine("TCCIMIPCConnection::TCCIMIPCConnection - open connection!"));
}

TEST_F(CallFaultTest, BusThatComesTooLateOrNever)
{
    for (const bool comes : {false, true}) // the last attempt is of no use even when it comes through
    {
        const auto connect = [comes]
        {
            {
                // The sanitizer meets each class once by way of a pipe, for which there are no descriptors below.
                const TCConnection known;
            }
            TCLogCapture::EchoToStandardError(true);
            rlimit files{};
            getrlimit(RLIMIT_NOFILE, &files);
            const rlimit none{0, files.rlim_max}; // the bus cannot be reached without a socket
            setrlimit(RLIMIT_NOFILE, &none);
            TCFakeClock::OnSleep(
                [&](unsigned int)
                {
                    if (TCFakeClock::Sleeps() == 60)
                    {
                        std::fprintf(stderr, "the last attempt\n");
                        setrlimit(RLIMIT_NOFILE, comes ? &files : &none);
                    }
                });
            const TCConnection connection;
        };
        EXPECT_EXIT(connect(), testing::KilledBySignal(SIGSEGV),
                    "the last attempt.*attempts != MAX_DBUS_CONNECTION_ATTEMPTS");
    }
}
} // namespace CIM
