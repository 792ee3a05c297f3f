// The plain functions over the one connection of the process.

#include "Connection.h"

#include <ciapi/IPCConnection.h>

#include <gmock/gmock.h>
#include <vector>

namespace CIM
{
namespace
{
std::vector<std::string> g_plainReceived;

template <int NUMBER>
void PlainCallback(int messageId, const char* data, int length)
{
    g_plainReceived.push_back(std::to_string(NUMBER) + ": " + std::to_string(messageId) + " " +
                              std::string(data, static_cast<std::size_t>(length)));
}

template <std::size_t... NUMBERS>
std::vector<TCIIPCCallback> PlainCallbacks(std::index_sequence<NUMBERS...>)
{
    return {PlainCallback<static_cast<int>(NUMBERS)>...};
}

bool Create()
{
    return IPCConnection__Create(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(),
                                 true);
}

class CLayerTest : public TCBusTest
{
protected:
    CLayerTest() { g_plainReceived.clear(); }
    ~CLayerTest() override { IPCConnection__Destroy(); }
    std::atomic<int> m_calls{0};
    TCScriptedDaemon m_daemon{{CI_GENERAL_CONNECTION_NAME},
                              [this](const TCScriptedDaemon::TMessage& request)
                              {
                                  ++m_calls;
                                  return TCScriptedDaemon::Payload(request.get()) == "refuse"
                                             ? TCScriptedDaemon::Reply(request, 0, "no")
                                             : Echo(request);
                              }};
    const char* const m_interface = CI_GENERAL_CONNECTION_NAME.c_str();
};
} // namespace

TEST_F(CLayerTest, CallsAndTheirBuffers)
{
    EXPECT_TRUE(Create());
    EXPECT_TRUE(IPCConnection__WaitForCreateInterface(m_interface));
    EXPECT_FALSE(IPCConnection__WaitForCreateInterface(nullptr));
    const struct
    {
        std::string input;
        bool handled;
        std::string output;
    } rows[] = {{"hello", true, "hello"},
                {"", true, ""},
                {"refuse", false, ""},
                {std::string(9000, 'x'), true, std::string(9000, 'x')}};
    for (const auto& row : rows)
    {
        char* output = nullptr;
        int length = -1;
        EXPECT_EQ(
            IPCConnection__Call(m_interface, 1, row.input.data(), static_cast<int>(row.input.size()), &output, &length),
            row.handled);
        ASSERT_NE(output, nullptr);
        EXPECT_EQ(std::string(output, static_cast<std::size_t>(length)), row.output);
        IPCConnection__CallDisposeOutputBuffer(output);
    }
    IPCConnection__CallDisposeOutputBuffer(nullptr);
    EXPECT_TRUE(IPCConnection__CallAsync(m_interface, 1, "x", 1));
    EXPECT_TRUE(IPCConnection__CallAsync(m_interface, 1, "x", -5)); // counts as no payload
}

TEST_F(CLayerTest, MissingThingsAreRefused)
{
    char* output = nullptr;
    int length = 0;
    for (const bool created : {false, true})
    {
        if (created)
        {
            EXPECT_TRUE(Create());
            EXPECT_FALSE(IPCConnection__Call(nullptr, 1, "", 0, &output, &length));
            char notAllocated = 0;
            output = &notAllocated;
            length = 1;
            EXPECT_FALSE(IPCConnection__Call(m_interface, 1, nullptr, 0, &output, &length));
            EXPECT_EQ(output, nullptr); // so that disposing of it is never wrong
            EXPECT_EQ(length, 0);
            EXPECT_FALSE(IPCConnection__Call(m_interface, 1, "", 0, nullptr, &length));
            EXPECT_FALSE(IPCConnection__Call(m_interface, 1, "", 0, &output, nullptr));
            EXPECT_FALSE(IPCConnection__CallAsync(nullptr, 1, "", 0));
            EXPECT_FALSE(IPCConnection__CallAsync(m_interface, 1, nullptr, 0));
            TCLogCapture::Clear();
            IPCConnection__SetCallbackFunction(IPC_MESSAGE_DATA, nullptr);
            IPCConnection__SetCallbackFunction(IPC_MESSAGE_MAX, PlainCallback<14>);
            IPCConnection__SetCallbackFunction(static_cast<EIPCMessageType>(-1), PlainCallback<14>);
            IPCConnection__UnsetCallbackFunction(IPC_MESSAGE_MAX);
            EXPECT_EQ(TCLogCapture::Count("[IPCConnection__SetCallbackFunction] Error return!"), 6U);
            EXPECT_TRUE(IsErrorLine("[IPCConnection__UnsetCallbackFunction] Error return!"));
            continue;
        }
        EXPECT_FALSE(IPCConnection__Call(m_interface, 1, "", 0, &output, &length));
        EXPECT_FALSE(IPCConnection__CallAsync(m_interface, 1, "", 0));
        EXPECT_FALSE(IPCConnection__WaitForCreateInterface(m_interface));
        EXPECT_FALSE(IPCConnection__AddMatchRule(IPC_MESSAGE_DATA, 1, PROFILE_MAIN, 1));
        EXPECT_FALSE(IPCConnection__RemoveMatchRule(IPC_MESSAGE_DATA, 1, PROFILE_MAIN, 1));
        IPCConnection__SetCallbackFunction(IPC_MESSAGE_DATA, PlainCallback<14>);
        EXPECT_TRUE(IsErrorLine("[IPCConnection__SetCallbackFunction] Error return!"));
        IPCConnection__UnsetCallbackFunction(IPC_MESSAGE_DATA);
        EXPECT_TRUE(IsErrorLine("[IPCConnection__UnsetCallbackFunction] Error return!"));
    }
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(m_calls, 0);
    EXPECT_THROW(IPCConnection__Create(nullptr, "/a", true), std::logic_error);
}

TEST_F(CLayerTest, EachTypeHasItsPlainCallback)
{
    EXPECT_TRUE(Create());
    const auto callbacks = PlainCallbacks(std::make_index_sequence<IPC_MESSAGE_MAX>());
    std::vector<std::string> expected;
    for (int type = 0; type < IPC_MESSAGE_MAX; ++type)
    {
        IPCConnection__SetCallbackFunction(static_cast<EIPCMessageType>(type),
                                           callbacks[static_cast<std::size_t>(type)]);
        if (CarriesHandle(type)) // the other kinds of signal have nothing that the bus could compare
        {
            EXPECT_TRUE(IPCConnection__AddMatchRule(static_cast<EIPCMessageType>(type), 3, PROFILE_SUB, 2));
            m_daemon.Send(TCScriptedDaemon::Signal(MEMBERS[type], "3", "65538", MEMBERS[type]));
            expected.push_back(std::to_string(type) + ": 3 " + MEMBERS[type]);
        }
    }
    EXPECT_TRUE(RunMainLoopUntil([&] { return g_plainReceived.size() == expected.size(); }));
    EXPECT_EQ(g_plainReceived, expected);

    IPCConnection__UnsetCallbackFunction(IPC_MESSAGE_SIGNAL);
    EXPECT_TRUE(IPCConnection__RemoveMatchRule(IPC_MESSAGE_PIPELINE_EVENT, 3, PROFILE_SUB, 2));
    for (const int type : {0, 1, 10})
    {
        m_daemon.Send(TCScriptedDaemon::Signal(MEMBERS[type], "3", "65538", "late"));
    }
    EXPECT_TRUE(RunMainLoopUntil([&] { return g_plainReceived.size() == expected.size() + 1; }));
    EXPECT_EQ(g_plainReceived.back(), "10: 3 late");
}
} // namespace CIM
