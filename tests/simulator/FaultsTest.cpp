#include "SimulatorProcess.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace CIM::sim
{
namespace
{
/// What a raw client sees of a reply.
struct TSSeen
{
    std::string signature;
    std::string error;
    unsigned status = 0;
    int length = 0;
    std::string payload;
};

TSSeen Look(const TCMessagePtr& reply)
{
    TSSeen seen;
    if (reply == nullptr)
    {
        return seen;
    }
    seen.signature = dbus_message_get_signature(reply.get());
    seen.error = dbus_message_get_error_name(reply.get()) != nullptr ? dbus_message_get_error_name(reply.get()) : "";
    if (seen.signature.rfind("yiay", 0) == 0)
    {
        unsigned char status = 0;
        const char* bytes = nullptr;
        int count = 0;
        dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &seen.length,
                              DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &count, DBUS_TYPE_INVALID);
        seen.status = status;
        seen.payload.assign(bytes, count);
    }
    return seen;
}

TSSeen Ask(TCRawClient& client) { return Look(client.Call(GENERAL, GET_CAM_MODES_HEADER | HELLO, GET_CAM_MODES, "t")); }

TEST(SimulatorFaults, Replies)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    const TSSeen right = Ask(client);
    ASSERT_EQ(right.status, 1U);
    struct TSCase
    {
        const char* fault; ///< without its operation
        std::function<bool(const TSSeen&)> isAsMade;
    };
    const TSCase cases[] = {
        {R"("kind":"error","name":"com.example.No","text":"no")",
         [](const TSSeen& seen) { return seen.error == "com.example.No" && seen.signature == "s"; }},
        {R"("kind":"status","status":0)",
         [](const TSSeen& seen) { return seen.signature == "yiay" && seen.status == 0; }},
        {R"("kind":"hello")", [&](const TSSeen& seen) { return seen.status == 0x81 && seen.payload == right.payload; }},
        {R"("kind":"wrong-types")", [](const TSSeen& seen) { return seen.signature == "sdai"; }},
        {R"("kind":"no-arguments")", [](const TSSeen& seen) { return seen.signature.empty() && seen.error.empty(); }},
        {R"("kind":"short")", [](const TSSeen& seen) { return seen.signature == "y"; }},
        {R"("kind":"long")", [](const TSSeen& seen) { return seen.signature == "yiaysi" && seen.status == 1; }},
        {R"("kind":"length","length":-7)",
         [&](const TSSeen& seen) { return seen.length == -7 && seen.payload == right.payload; }},
        {R"("kind":"cut","bytes":5)",
         [&](const TSSeen& seen) { return seen.length == 5 && seen.payload == right.payload.substr(0, 5); }},
        {R"("kind":"version","version":9)",
         [&](const TSSeen& seen) { return seen.payload[0] == 9 && seen.payload.substr(1) == right.payload.substr(1); }},
        {R"("kind":"hostile","shape":"deep")",
         [](const TSSeen& seen) { return seen.payload.size() == 4 + 8 * 100'000; }},
        {R"("kind":"hostile","shape":"huge")",
         [](const TSSeen& seen) { return seen.payload.substr(8, 4) == "\xff\xff\xff\xff"; }},
        {R"("kind":"late","ms":1)",
         [&](const TSSeen& seen) { return seen.status == 1 && seen.payload == right.payload; }},
    };
    for (const TSCase& fault : cases)
    {
        client.Control("AddFault",
                       {std::string("{") + fault.fault + R"(,"operation":"ICIGeneral.GetCamModes","times":1})"});
        EXPECT_TRUE(fault.isAsMade(Ask(client))) << fault.fault;
        EXPECT_EQ(Ask(client).payload, right.payload) << "once was enough: " << fault.fault;
    }
}

TEST(SimulatorFaults, WhenTheyHappen)
{
    // Only the second call about slot 1; a call about another slot, or another operation, does not count.
    const auto isMet = [](TCRawClient& client, int slot)
    {
        // ResetPcmcia(slot), identifier 2 of the debug interface.
        const std::string payload =
            std::string("\1\0\0\0\2\0\2\0\11\0\0\0\1\0\1\0\1\0\0\0", 20) + static_cast<char>(slot);
        return !Look(client.Call("com.kelvora.ciapi.ICIDebug", 2 | HELLO, payload, "t")).error.empty();
    };
    TCSimulatorProcess simulator({"--fault", R"({"kind":"error","operation":"ResetPcmcia","slot":1,"nth":2})"});
    TCRawClient client;
    const std::vector<int> slots = {0, 1, 0, 1, 1};
    std::vector<bool> met;
    for (const int slot : slots)
    {
        met.push_back(isMet(client, slot));
    }
    EXPECT_EQ(met, (std::vector<bool>{false, false, false, true, false}));

    // The same seed, the same luck; and luck it is.
    const auto series = []
    {
        TCSimulatorProcess lucky({"--seed", "7", "--fault", R"({"kind":"error","operation":"*","probability":0.5})"});
        TCRawClient caller;
        std::string seen;
        for (int i = 0; i < 40; ++i)
        {
            seen += Ask(caller).error.empty() ? '.' : 'x';
        }
        return seen;
    };
    const std::string first = series();
    EXPECT_EQ(first, series());
    EXPECT_NE(first.find('x'), std::string::npos);
    EXPECT_NE(first.find('.'), std::string::npos);
}

TEST(SimulatorFaults, SlowCallsDelayNobodyElse)
{
    TCSimulatorProcess simulator({"--fault", R"({"kind":"late","operation":"GetCiSlotStatus","ms":400})", "--fault",
                                  R"({"kind":"never","operation":"CipTest"})"});
    TCRawClient client;
    const auto start = std::chrono::steady_clock::now();
    DBusPendingCall* const never = client.Send(GENERAL, 6, std::string("\1\0\0\0\2\0\6\0\0\0\0\0", 12));
    DBusPendingCall* const late = client.Send(GENERAL, 0, GET_SLOT_STATUS);
    EXPECT_EQ(Ask(client).status, 1U);
    EXPECT_FALSE(dbus_pending_call_get_completed(late));
    EXPECT_EQ(Look(TCRawClient::Wait(late)).payload.substr(4, 1), "\2");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
    EXPECT_FALSE(dbus_pending_call_get_completed(never));

    // Whoever waits when the daemon goes is told at once, and the daemon that comes back knows nobody.
    client.Control("ClearFaults");
    client.Control("AddFault", {R"({"kind":"restart","ms":50,"stepMs":5})"});
    EXPECT_EQ(Look(TCRawClient::Wait(never)).error, "org.freedesktop.DBus.Error.NoReply");
    EXPECT_TRUE(
        Eventually([&] { return std::filesystem::exists(simulator.marker.Path()) && client.OwnsName(GENERAL); }));
    EXPECT_EQ(Look(client.Call(GENERAL, GET_CAM_MODES_HEADER, GET_CAM_MODES)).status, 0x81U);
}

TEST(SimulatorFaults, CrashesAndNames)
{
    for (const auto& [shape, status] : {std::pair<std::string, int>{"exit", 70}, {"abort", 128 + 6}})
    {
        TCSimulatorProcess simulator({"--fault", R"({"kind":"crash","operation":"*","shape":")" + shape + "\"}"});
        TCRawClient client;
        EXPECT_EQ(Ask(client).error, "org.freedesktop.DBus.Error.NoReply") << shape;
        EXPECT_EQ(WaitForEnd(simulator.process), status) << shape;
        EXPECT_TRUE(std::filesystem::exists(simulator.marker.Path())) << "a crash tidies nothing up";
    }
    TCSimulatorProcess simulator({"--names-after", "20", "--names-step", "5"});
    TCRawClient client;
    client.Control("AddFault", {R"({"kind":"lose-name","name":")" + GENERAL + R"(","ms":100})"});
    EXPECT_FALSE(client.OwnsName(GENERAL));
    EXPECT_TRUE(client.OwnsName("com.kelvora.ciapi.ICIDebug"));
    EXPECT_TRUE(Eventually([&] { return client.OwnsName(GENERAL); }));
}

TEST(SimulatorFaults, Signals)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    client.Match("type='signal',interface='com.kelvora.ciapi.SignalIFace'");
    const std::pair<const char*, const char*> shapes[] = {
        {"empty", ""},
        {"identifier-type", "isiay"},
        {"no-handle", "siay"},
        {"no-length", "ss"},
        {"length-type", "sssay"},
        {"no-payload", "ssi"},
        {"payload-type", "ssis"},
        {"payload-elements", "ssiai"},
        {"length-lies", "ssiay"},
        {"short", "ssiay"},
        {"identifier-text", "ssiay"},
        {"unknown-member", "ssiay"},
    };
    for (const auto& [shape, signature] : shapes)
    {
        client.Control("AddFault",
                       {std::string(R"({"kind":"malformed-signal","signal":17,"shape":")") + shape + "\"}"});
        const TCMessagePtr signal = client.NextSignal();
        ASSERT_NE(signal, nullptr) << shape;
        EXPECT_STREQ(dbus_message_get_signature(signal.get()), signature) << shape;
    }
    client.Control("AddFault", {R"({"kind":"stranger","signal":17})"});
    const TCMessagePtr strange = client.NextSignal();
    ASSERT_NE(strange, nullptr);
    client.Control("AddFault", {R"({"kind":"storm","signal":17,"count":5000})"});
    std::string sender;
    for (std::uint32_t i = 0; i < 5000; ++i)
    {
        const TCMessagePtr signal = client.NextSignal();
        ASSERT_NE(signal, nullptr) << i;
        DBusMessageIter argument;
        DBusMessageIter array;
        dbus_message_iter_init(signal.get(), &argument);
        while (dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_ARRAY)
        {
            dbus_message_iter_next(&argument);
        }
        dbus_message_iter_recurse(&argument, &array);
        const char* bytes = nullptr;
        int count = 0;
        dbus_message_iter_get_fixed_array(&array, &bytes, &count);
        std::uint32_t number = 0;
        ASSERT_EQ(count, 16);
        std::memcpy(&number, bytes + 4, sizeof number);
        ASSERT_EQ(number, i) << "complete and in order";
        sender = dbus_message_get_sender(signal.get());
    }
    EXPECT_NE(sender, dbus_message_get_sender(strange.get())) << "the stranger is not the daemon";
}
} // namespace
} // namespace CIM::sim
