// Signals from the daemon to the registered callbacks.

#include "Connection.h"

#include "ci_connection/SignalReceiver.h"

#include <csignal>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace CIM
{
namespace
{
using TMessage = TCScriptedDaemon::TMessage;

std::vector<std::string> g_received; // only the thread of the main context uses it

void Record(int messageId, TCMessageBuffer& payload)
{
    g_received.push_back(std::to_string(messageId) + " " + Text(payload));
}
void RecordSecond(int messageId, TCMessageBuffer& payload)
{
    g_received.push_back("second " + std::to_string(messageId) + " " + Text(payload));
}
void Throw(int messageId, TCMessageBuffer&)
{
    g_received.push_back("threw");
    if (messageId == 1)
    {
        throw std::runtime_error("from the callback");
    }
    throw messageId;
}

TCConnection* g_connection = nullptr;

void CallBackIntoTheLibrary(int messageId, TCMessageBuffer& payload)
{
    const SAnswer first = Call(*g_connection, 1, Text(payload));
    const SAnswer second = Call(*g_connection, 2, first.payload + "!");
    const bool added = g_connection->AddMatchRule(IPC_MESSAGE_DATA, messageId, TVSHandle());
    g_connection->SetCallbackFunction(IPC_MESSAGE_DSM, Record); // another type than its own
    g_received.push_back(second.payload + (added ? " added" : " refused"));
}

TMessage SignalOf(int type, const std::string& identifier, std::string_view payload)
{
    return TCScriptedDaemon::Signal(MEMBERS[type], identifier, CarriesHandle(type) ? "65538" : nullptr, payload);
}

class SignalTest : public TCBusTest
{
protected:
    SignalTest() { g_received.clear(); }
    void t_Send(const TCConnection& connection, const TMessage& signal)
    {
        // Sent to the receiver itself: no match rule is needed.
        dbus_message_set_destination(signal.get(), const_cast<TCConnection&>(connection).GetReceiverId().c_str());
        m_daemon.Send(signal);
    }
    TCScriptedDaemon m_daemon{{CI_GENERAL_CONNECTION_NAME}, Echo};
};

using SignalDeathTest = TCBusTest;
} // namespace

TEST_F(SignalTest, EachTypeReachesItsOwnCallbackOnly)
{
    TCConnection connection;
    for (int type = 0; type < IPC_MESSAGE_MAX; ++type)
    {
        g_received.clear();
        connection.SetCallbackFunction(static_cast<EIPCMessageType>(type), Record);
        for (int other = 0; other < IPC_MESSAGE_MAX; ++other)
        {
            t_Send(connection, SignalOf(other, "17", MEMBERS[other]));
        }
        t_Send(connection, SignalOf(type, "-2", ""));
        EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 2; }));
        EXPECT_THAT(g_received, testing::ElementsAre(std::string("17 ") + MEMBERS[type], "-2 "));
        connection.UnsetCallbackFunction(static_cast<EIPCMessageType>(type), Record);
    }
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::t_MessageHandler]  msgType: Program, msgId: 17"), 1U);
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::SetCallbackFunction] Receiver: " + connection.GetReceiverId() +
                                  ", MsgType: ATSC3Mpd, callback: 0x"),
              1U);
}

TEST_F(SignalTest, SecondCallbackReplacesTheFirst)
{
    TCConnection connection(/*attachToMainLoop=*/false);
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, RecordSecond);
    connection.UnsetCallbackFunction(IPC_MESSAGE_DATA, Record);
    t_Send(connection, SignalOf(IPC_MESSAGE_DATA, "no number", "a"));
    EXPECT_TRUE(RunMainLoopUntil([] { return !g_received.empty(); }));
    EXPECT_THAT(g_received, testing::ElementsAre("second 0 a"));
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::UnsetCallbackFunction]"), 0U);
    connection.UnsetCallbackFunction(IPC_MESSAGE_DATA, RecordSecond);
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::UnsetCallbackFunction]"), 1U);
}

TEST_F(SignalTest, LengthsThatLieReadNothingBeyondTheArray)
{
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    const std::string large(5000, 'x');
    for (const dbus_int32_t stated : {1000000, 2, -1, 0x7fffffff})
    {
        const TMessage signal(dbus_message_new_signal(CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(),
                                                      CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), "Data"),
                              dbus_message_unref);
        const char* const identifier = "5";
        const char* const bytes = stated == 0x7fffffff ? large.data() : "abc";
        dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &identifier, DBUS_TYPE_INT32, &stated, DBUS_TYPE_ARRAY,
                                 DBUS_TYPE_BYTE, &bytes, stated == 0x7fffffff ? 5000 : 3, DBUS_TYPE_INVALID);
        t_Send(connection, signal);
    }
    EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 4; }));
    EXPECT_THAT(g_received, testing::ElementsAre("5 abc", "5 ab", "5 ", "5 " + large));
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::t_MessageHandler] Payload length"), 8U);
}

TEST_F(SignalTest, WhatTheFilterAnswers)
{
    TCConnection connection;
    // With the type texts of dbus_message_type_from_string.
    const struct
    {
        const char* type;
        const char* interfaceName;
        const char* member;
        DBusHandlerResult result;
    } rows[] = {
        {"signal", "com.kelvora.ciapi.SignalIFace", "Unknown", DBUS_HANDLER_RESULT_NOT_YET_HANDLED},
        {"signal", "com.kelvora.ciapi.OtherIFace", "Data", DBUS_HANDLER_RESULT_NOT_YET_HANDLED},
        {"method_call", "com.kelvora.ciapi.SignalIFace", "Data", DBUS_HANDLER_RESULT_NOT_YET_HANDLED},
        {"signal", "org.freedesktop.DBus.Local", "Disconnected", DBUS_HANDLER_RESULT_HANDLED},
    };
    for (const auto& row : rows)
    {
        const TMessage message(dbus_message_new(dbus_message_type_from_string(row.type)), dbus_message_unref);
        dbus_message_set_path(message.get(), "/a");
        dbus_message_set_interface(message.get(), row.interfaceName);
        dbus_message_set_member(message.get(), row.member);
        EXPECT_EQ(connection.t_GetMessageType(message.get()), IPC_MESSAGE_MAX);
        EXPECT_EQ(connection.t_MessageHandler(message.get()), row.result) << row.member;
    }

    TCSignalReceiver receiver(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME);
    const TMessage overflow(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR), dbus_message_unref);
    dbus_message_set_error_name(overflow.get(), DBUS_ERROR_LIMITS_EXCEEDED);
    EXPECT_EQ(TCConnection::t_MessageHandlerHelper(nullptr, overflow.get(), &receiver), DBUS_HANDLER_RESULT_HANDLED);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_MessageHandlerHelper] Cannot send call message. Receiver queue "
                            "overflow - DBUS_ERROR_LIMITS_EXCEEDED. messageType[3]"));
}

TEST_F(SignalDeathTest, MalformedSignalOfAKnownType)
{
    const char* const text = "5";
    const dbus_int32_t number = 1;
    const char* const bytes = "a";
    const char* const* const texts = &text;
    const auto make = [](const char* member)
    {
        return TMessage(dbus_message_new_signal(CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(),
                                                CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), member),
                        dbus_message_unref);
    };
    std::vector<std::pair<TMessage, const char*>> rows;
    rows.emplace_back(make("Data"), "Message has no arguments.");
    rows.emplace_back(make("Data"), "Incorrect type of argument. Expected DBUS_TYPE_STRING.");
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    rows.emplace_back(make("Data"), "Incorrect type of argument. Expected DBUS_TYPE_INT32.");
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32,
                             &number, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, 1, DBUS_TYPE_INVALID);
    rows.emplace_back(make("Ht"), "Incorrect type of argument. Expected DBUS_TYPE_INT32."); // lacks the handle
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &number,
                             DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, 1, DBUS_TYPE_INVALID);
    rows.emplace_back(make("Signal"), "Incorrect type of argument. Expected DBUS_TYPE_INT32."); // ends behind the text
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    rows.emplace_back(make("Data"), "Incorrect type of argument. Expected DBUS_TYPE_ARRAY.");
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &number,
                             DBUS_TYPE_INVALID);
    rows.emplace_back(make("Data"), "Incorrect type of argument. Expected DBUS_TYPE_ARRAY.");
    dbus_message_append_args(rows.back().first.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &number,
                             DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &texts, 1, DBUS_TYPE_INVALID);
    TCConnection connection;
    for (const auto& [signal, line] : rows)
    {
        const auto deliver = [&connection, message = signal.get()]
        {
            TCLogCapture::EchoToStandardError(true);
            connection.t_MessageHandler(message);
        };
        EXPECT_EXIT(deliver(), testing::KilledBySignal(SIGSEGV),
                    std::string("\\[TCCIMIPCConnection::t_MessageHandler\\] ") + line + ".*: false");
    }
    EXPECT_EXIT(connection.SetCallbackFunction(IPC_MESSAGE_MAX, Record), testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(connection.UnsetCallbackFunction(IPC_MESSAGE_MAX, Record), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(SignalTest, ExceptionOfACallbackStopsInTheLibrary)
{
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Throw);
    t_Send(connection, SignalOf(IPC_MESSAGE_DATA, "1", ""));
    t_Send(connection, SignalOf(IPC_MESSAGE_DATA, "2", ""));
    EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 2; }));
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_MessageHandlerHelper] Exception in signal callback: from the"));
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_MessageHandlerHelper] Exception in signal callback: of unknown"));
    connection.UnsetCallbackFunction(IPC_MESSAGE_DATA, Throw); // the mutex is free
}

TEST_F(SignalTest, CallbackMayCallTheDaemonAndChangeItsRules)
{
    TCConnection connection;
    g_connection = &connection;
    connection.SetCallbackFunction(IPC_MESSAGE_SIGNAL, CallBackIntoTheLibrary);
    for (int count = 0; count < 20; ++count)
    {
        t_Send(connection, SignalOf(IPC_MESSAGE_SIGNAL, std::to_string(count), "again"));
    }
    EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 20; }));
    EXPECT_THAT(g_received, testing::Each("again! added"));
}

TEST_F(SignalTest, SecondConnectionAfterTheFirstWasDestroyed)
{
    auto first = std::make_unique<TCConnection>();
    first->SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    const std::string firstReceiver = first->GetReceiverId();
    first.reset();
    EXPECT_EQ(TCLogCapture::Count("[TCCIMIPCConnection::~TCCIMIPCConnection]  Closing connection for receiver: " +
                                  firstReceiver),
              1U);
    const TMessage between = SignalOf(IPC_MESSAGE_DATA, "1", "between");
    dbus_message_set_destination(between.get(), firstReceiver.c_str());
    m_daemon.Send(between);
    const char* const refused = "TCCIMIPCConnection::t_MessageHandlerHelper - is not active!";
    // Before it the bus announces two names; each of the three is refused, and each error line written twice.
    EXPECT_TRUE(RunMainLoopUntil([&] { return TCLogCapture::Count(refused) == 6; }));

    TCConnection second;
    EXPECT_NE(second.GetReceiverId(), firstReceiver);
    second.SetCallbackFunction(IPC_MESSAGE_DATA, RecordSecond);
    TCLogCapture::Clear();
    const TMessage late = SignalOf(IPC_MESSAGE_DATA, "1", "late");
    dbus_message_set_destination(late.get(), firstReceiver.c_str());
    m_daemon.Send(late);
    t_Send(second, SignalOf(IPC_MESSAGE_DATA, "2", "new"));
    EXPECT_TRUE(RunMainLoopUntil([&] { return IsErrorLine(refused) && !g_received.empty(); }));
    EXPECT_THAT(g_received, testing::ElementsAre("second 2 new"));
}

TEST_F(SignalTest, ApplicationOutlivesTheBus)
{
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    t_Send(connection, SignalOf(IPC_MESSAGE_DATA, "1", ""));
    EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == 1; }));
    Bus().Stop();
    EXPECT_TRUE(RunMainLoopUntil([&] { return !dbus_connection_get_is_connected(connection.t_pMainLoopConnection); }));
    EXPECT_FALSE(Call(connection, 1, "x").handled);
}

TEST_F(SignalTest, SubscribingFromManyThreadsWhileSignalsPourIn)
{
    constexpr int SIGNALS = 3000;
    TCConnection connection;
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, Record);
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (int number = 0; number < 100; ++number)
                {
                    refused += connection.AddMatchRule(IPC_MESSAGE_DSM, thread * 1000 + number, TVSHandle()) ? 0 : 1;
                    connection.SetCallbackFunction(IPC_MESSAGE_DSM, Record);
                    refused += connection.RemoveMatchRule(IPC_MESSAGE_DSM, thread * 1000 + number, TVSHandle()) ? 0 : 1;
                    connection.UnsetCallbackFunction(IPC_MESSAGE_DSM, Record);
                }
            });
    }
    for (int number = 0; number < SIGNALS; ++number)
    {
        t_Send(connection, SignalOf(IPC_MESSAGE_DATA, std::to_string(number), "x"));
    }
    EXPECT_TRUE(RunMainLoopUntil([] { return g_received.size() == SIGNALS; }));
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(refused, 0);
    for (int number = 0; number < static_cast<int>(g_received.size()); ++number)
    {
        ASSERT_EQ(g_received[static_cast<std::size_t>(number)], std::to_string(number) + " x");
    }
}
} // namespace CIM
