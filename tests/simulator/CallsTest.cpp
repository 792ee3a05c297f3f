#include "SimulatorProcess.h"

#include "privatebus/Process.h"
#include "simulator/control/Controls.h"
#include "simulator/daemon/Messages.h"
#include "simulator/daemon/Verbs.h"
#include "support/Shell.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace CIM::sim
{
namespace
{
struct TSSeenReply
{
    unsigned status = 256;
    int length = -1;
    std::string payload;
};

TSSeenReply Read(const TCMessagePtr& reply)
{
    TSSeenReply seen;
    unsigned char status = 0;
    const char* bytes = nullptr;
    int count = 0;
    if (dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &seen.length,
                              DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &count, DBUS_TYPE_INVALID))
    {
        seen.status = status;
        seen.payload.assign(bytes, count);
    }
    return seen;
}

/// A signal's identifier, handle and payload; the length that it states must be the payload's.
std::string TextOf(const TCMessagePtr& signal)
{
    const char* identifier = nullptr;
    const char* handle = nullptr;
    dbus_int32_t length = 0;
    const char* bytes = nullptr;
    int count = 0;
    const bool isRead = dbus_message_get_args(signal.get(), nullptr, DBUS_TYPE_STRING, &identifier, DBUS_TYPE_STRING,
                                              &handle, DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE,
                                              &bytes, &count, DBUS_TYPE_INVALID) &&
                        length == count;
    return isRead ? std::string(identifier) + ' ' + handle + ' ' + std::string(bytes, count) : "no signal";
}

TEST(SimulatorCalls, HandWrittenBytes)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    // Slot 0 holds the CAM that has just been put in, slot 1 none; tag 0 is the result, tag 1 the map of slots.
    const TSSeenReply reply = Read(client.Call(GENERAL, HELLO, GET_SLOT_STATUS, "by hand"));
    EXPECT_EQ(reply.status, 1U);
    EXPECT_EQ(reply.length, static_cast<int>(reply.payload.size()));
    ASSERT_GE(reply.payload.size(), 24U);
    EXPECT_EQ(reply.payload.substr(0, 8), std::string("\1\0\0\0\2\0\0\0", 8)) << "version, then the root of method 0";
    EXPECT_EQ(reply.payload.substr(12, 12), std::string("\1\0\0\0\4\0\0\0\1\0\0\0", 12)) << "result 1 under tag 0";

    struct TSCase
    {
        const char* what;
        int header;
        std::string payload;
        unsigned status;
    };
    const TSCase cases[] = {
        {"unknown method", 99, GET_CAM_MODES, 0},
        {"an operation that is never sent", 1, std::string("\1\0\0\0\2\0\1\0\0\0\0\0", 12), 0},
        {"no payload", GET_CAM_MODES_HEADER, "", 0},
        {"another method's payload", GET_CAM_MODES_HEADER, GET_SLOT_STATUS, 0},
        {"a payload of zeros", GET_CAM_MODES_HEADER, std::string(64, '\0'), 0},
        {"a root that claims 4 GiB", GET_CAM_MODES_HEADER, std::string("\1\0\0\0\2\0\2\0\xff\xff\xff\xff", 12), 0},
        {"the right bytes", GET_CAM_MODES_HEADER, GET_CAM_MODES, 1},
    };
    for (const TSCase& call : cases)
    {
        const TSSeenReply seen = Read(client.Call(GENERAL, call.header, call.payload));
        EXPECT_EQ(seen.status, call.status) << call.what;
        EXPECT_EQ(seen.payload.empty(), call.status == 0) << call.what;
    }
    TCRawClient stranger;
    EXPECT_EQ(Read(stranger.Call(GENERAL, GET_CAM_MODES_HEADER, GET_CAM_MODES)).status, 0x81U)
        << "a client without a name is asked for it";
    EXPECT_TRUE(dbus_message_is_error(client.Call(GENERAL, HELLO, GET_CAM_MODES).get(), DBUS_ERROR_INVALID_ARGS))
        << "the hello without its text";

    // A one-way call is handled and not answered: the next reply is the next call's.
    DBusPendingCall* const oneWay = client.Send(GENERAL, GET_CAM_MODES_HEADER | ONE_WAY, GET_CAM_MODES);
    EXPECT_EQ(Read(client.Call(GENERAL, GET_CAM_MODES_HEADER, GET_CAM_MODES)).status, 1U);
    EXPECT_FALSE(dbus_pending_call_get_completed(oneWay));
    dbus_pending_call_cancel(oneWay);
    dbus_pending_call_unref(oneWay);

    // VerifyCamPin of slot 0 with 0042: the journal says that it was called, not with which PIN.
    const std::string verifyPin("\1\0\0\0\2\0\x18\0\x1d\0\0\0\1\0\1\0\1\0\0\0\0"
                                "\2\0\2\0\x0c\0\0\0\1\0\0\0\4\0\0\0"
                                "0042",
                                41);
    Read(client.Call(GENERAL, 24, verifyPin));
    const json::TJson journal = client.ControlJson("Journal");
    ASSERT_GE(journal.size(), 3U);
    EXPECT_EQ(journal.back().at("operation"), "VerifyCamPin");
    EXPECT_EQ(journal.back().at("arguments").at("pin"), "***");
    EXPECT_EQ(journal[0].at("operation"), "GetCiSlotStatus");
    EXPECT_EQ(journal[0].at("arguments").at("selection"), 0);
    EXPECT_EQ(journal[0].at("program"), "by hand");
    EXPECT_EQ(journal[1].at("outcome"), "unknown-method");
}

/// A call with arguments of these D-Bus types: header, length and 4711 as numbers, "by hand", the bytes "abc".
TCMessagePtr CallWith(const std::string& signature, dbus_int32_t header, dbus_int32_t length)
{
    TCMessagePtr call(dbus_message_new_method_call(GENERAL.c_str(), "/com/kelvora/Object", nullptr, "MethodCall"));
    const dbus_int32_t numbers[] = {header, length, 4711};
    const dbus_int32_t* number = numbers;
    const char* const text = "by hand";
    const char* const bytes = "abc";
    for (std::size_t i = 0; i < signature.size(); ++i)
    {
        if (signature[i] == 'i')
        {
            dbus_message_append_args(call.get(), DBUS_TYPE_INT32, number++, DBUS_TYPE_INVALID);
        }
        else if (signature[i] == 's')
        {
            dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        }
        else if (signature[++i] == 'y')
        {
            dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, 3, DBUS_TYPE_INVALID);
        }
        else
        {
            const dbus_int32_t* const list = numbers;
            dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_INT32, &list, 3, DBUS_TYPE_INVALID);
        }
    }
    EXPECT_EQ(dbus_message_get_signature(call.get()), signature);
    return call;
}

TEST(SimulatorCalls, WhatACallCarries)
{
    struct TSCase
    {
        const char* signature;
        int header;
        int length;
        const char* payload; ///< null: it is no call
    };
    const TSCase cases[] = {
        {"iii", 2, 0, ""},
        {"iii", 2, 1000, ""},
        {"iiiay", 2, 3, "abc"},
        {"iiiay", 2, 2, "ab"},
        {"iiiay", 2, 1000, "abc"},
        {"iiiay", 2, -1, ""},
        {"iiis", HELLO | 2, 0, ""},
        {"iiisay", HELLO | 2, 3, "abc"},
        {"", 0, 0, nullptr},
        {"i", 2, 0, nullptr},
        {"ii", HELLO | 2, 0, nullptr},
        {"sii", 2, 0, nullptr},
        {"iis", 2, 0, nullptr},
        {"iiay", 2, 0, nullptr},
        {"iiis", 2, 0, nullptr},
        {"iiii", 2, 0, nullptr},
        {"iiiai", 2, 3, nullptr},
        {"iiiays", 2, 3, nullptr},
        {"iiisay", 2, 3, nullptr},
        {"iii", HELLO | 2, 0, nullptr},
        {"iiiay", HELLO | 2, 3, nullptr},
        {"iiisays", HELLO | 2, 3, nullptr},
    };
    for (const auto& [signature, header, length, payload] : cases)
    {
        SCOPED_TRACE(std::string(signature) + " " + std::to_string(header) + " " + std::to_string(length));
        const bool saysHello = (header & HELLO) != 0;
        const TCMessagePtr message = CallWith(signature, header, length);
        TSCall call;
        try
        {
            call = DecodeCall(message.get());
            ASSERT_NE(payload, nullptr);
        }
        catch (const std::runtime_error& error)
        {
            ASSERT_EQ(payload, nullptr) << error.what();
            EXPECT_THAT(error.what(),
                        testing::HasSubstr("\"i\" processId, " + std::string(saysHello ? "\"s\" " : "\"ay\" ")));
            EXPECT_THAT(error.what(), testing::EndsWith("not \"" + std::string(signature) + '"'));
            continue;
        }
        EXPECT_EQ(call.interface, GENERAL);
        EXPECT_EQ(call.envelope.processId, 4711);
        EXPECT_EQ(std::string(call.envelope.payload.data, call.envelope.payload.length), payload);
        EXPECT_STREQ(call.envelope.program, saysHello ? "by hand" : nullptr);
        EXPECT_FALSE(call.isOneWay);
    }
    EXPECT_TRUE(DecodeCall(CallWith("iii", ONE_WAY | 2, 0).get()).isOneWay);
    const TCMessagePtr silent = CallWith("iii", 2, 0);
    dbus_message_set_no_reply(silent.get(), TRUE);
    EXPECT_TRUE(DecodeCall(silent.get()).isOneWay);
}

TEST(SimulatorCalls, SignalsAndSubscriptions)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    client.Match("type='signal',path='/com/kelvora/ciapi/SignalObject',interface='com.kelvora.ciapi.SignalIFace',"
                 "member='Signal',arg0='17',arg1='4294901763'"); // profile -1, handle 3
    client.Control("RaiseSignal", {"17", "-1", "4", "", "1"});
    client.Control("RaiseSignal", {"17", "PROFILE_NONE", "3", "0102030405060708"});
    const TCMessagePtr signal = client.NextSignal();
    ASSERT_NE(signal, nullptr);
    EXPECT_EQ(TextOf(signal), std::string("17 4294901763 \1\2\3\4\5\6\7\10\xff\xff\xff\xff\3\0\0\0", 30));

    // Subscribe(type 20, profile 0, handle 1, process id 4711), by hand; forgotten when the client leaves the bus.
    const std::string subscribe("\1\0\0\0\2\0\0\0\62\0\0\0"
                                "\1\0\1\0\4\0\0\0\24\0\0\0\1\0\2\0\4\0\0\0\0\0\0\0"
                                "\1\0\3\0\2\0\0\0\1\0\1\0\4\0\10\0\0\0\147\22\0\0\0\0\0\0",
                                62);
    {
        TCRawClient subscriber;
        const TSSeenReply reply =
            Read(subscriber.Call("com.kelvora.ciapi.ICISignalSubscriber", HELLO, subscribe, "watcher"));
        ASSERT_EQ(reply.status, 1U);
        const json::TJson list = client.ControlJson("Subscriptions");
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].at("number"), 20);
        EXPECT_EQ(list[0].at("handle"), 1);
        EXPECT_EQ(list[0].at("processId"), 4711);
        EXPECT_EQ(list[0].at("program"), "watcher");
        EXPECT_EQ(list[0].at("client"), dbus_bus_get_unique_name(subscriber.Get()));
    }
    EXPECT_TRUE(Eventually([&] { return client.ControlJson("Subscriptions").empty(); }));
}

TEST(SimulatorCalls, ControlAndClock)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    client.Match("type='signal',interface='com.kelvora.ciapi.SignalIFace',arg0='20'");
    client.Control("InsertCam", {"1", client.ControlJson("ListCams").back().at("name").get<std::string>()});
    EXPECT_EQ(client.ControlJson("State").at("slots").at(1).at("phase"), "init");
    client.Control("AdvanceClock", {"60000"});
    EXPECT_EQ(client.ControlJson("State").at("slots").at(1).at("phase"), "ready");
    EXPECT_NE(client.NextSignal(), nullptr) << "the CAM has become ready, and nobody was told";
    EXPECT_THROW(client.Control("InsertCam", {"9", "plus"}), std::runtime_error);
    EXPECT_THROW(client.Control("AddFault", {"{\"kind\":\"late\",\"operation\":\"*\",\"bytes\":3}"}),
                 std::runtime_error);
}

// What is the same in the dialect of the files is the same on the control object, whoever calls it; what is wrong is
// told by name, and nothing is done then.
TEST(SimulatorCalls, TheControlObjectReadsWhatItsIntrospectionSays)
{
    TCSimulatorProcess simulator;
    TCRawClient client;
    client.Match("type='signal',interface='com.kelvora.ciapi.SignalIFace'");
    const std::string busctl = "busctl --address=\"$DBUS_SYSTEM_BUS_ADDRESS\" ";
    const std::string call = busctl + "call -- com.kelvora.cisim /com/kelvora/cisim com.kelvora.cisim.Control ";
    const std::string ctl = SIMULATOR_PATH " ctl ";
    struct TSCase
    {
        std::string command;
        int status;
        const char* text;
    };
    const TSCase cases[] = {
        {call + "RaiseSignal uiqay 19 -1 3 8 1 2 3 4 5 6 7 8", 0, ""},
        {call + "RaiseSignal ssqay SIGNAL_CI_TTX_STATUS_CHANGE PROFILE_NONE 3 8 1 2 3 4 5 6 7 8", 0, ""},
        {call + "RaiseSignal sssssyqu 19 -1 0x3 01:02:03:04:05:06:07:08 '' 2 1027 134678021", 0, ""},
        {ctl + "RaiseSignal SIGNAL_CI_TTX_STATUS_CHANGE -1 3 '{\"text\": \"ABCDEFGH\"}' 1 2 0x403 134678021", 0, ""},
        {ctl + "RaiseSignal SIGNAL_CI_TTX_STATUS_CHANGE 0 0 '' 1 CAM_STATUS_READY", 2, "which takes a number"},
        {call + "RaiseSignal sd 17 1.5", 1, "profile: \"s\" is needed, not an argument of the type \"d\""},
        {call + "RaiseSignal sii 17 0 70000", 1, "handle: 70000 is not within 0 to 65535"},
        {call + "RaiseSignal siqau 17 0 0 1 7", 1, "data: \"ay\" is needed, not an argument of the type \"a\""},
        {call + "RaiseSignal s SIGNAL_CI_NONE", 1, "is no value of ECISignalType"},
        {call + "InsertCam y 0", 1, "InsertCam slot cam: \"cam\" is missing"},
        {call + "InsertCam yss 0 plus twice", 1, "there are more arguments than parameters"},
        {call + "InsertCam ys 9 plus", 1, "slot 9"},
        {ctl + "InsertCam 0", 2, "cam: this must be given: text"},
        {ctl + "InsertCam 256 plus", 2,
         "slot: 256 is not within 0 to 255\nusage: ci-daemon-sim ctl InsertCam slot cam"},
        {ctl + "InsertCam 9 plus", 1, "slot 9"},
        {ctl + "insert 0 plus", 2, "there is no verb insert"},
        {ctl + "AddFault '{\"kind\": \"late\",'", 2, "fault:1:16: "},
        {ctl + "AddFault '{\"kind\": \"restart\", \"profile\": 0}'", 2, "profile: a fault of the kind"},
        {ctl + "SetFlag 0 --help", 2, "flag: \"--help\" is no value of flag; there are keep-app-running"},
        {ctl + "StartUpgrade --help", 0, "ECamUpgradeMode, CAM_UPGRADE_MODE_DELAYED when left out"},
        {ctl + "--list StartUpgrade 0", 0, "CAM_UPGRADE_MODE_DELAYED\nCAM_UPGRADE_MODE_IMMEDIATE\n"},
        {busctl + "introspect com.kelvora.cisim /com/kelvora/cisim | grep '\\.AskPin *method *yisq'", 0, "AskPin"},
        {"gdbus introspect --address \"$DBUS_SYSTEM_BUS_ADDRESS\" --dest com.kelvora.cisim --object-path / --recurse",
         0, "AddFault"},
    };
    std::size_t raised = 0;
    for (const TSCase& test : cases)
    {
        const TSOutput output = Shell(test.command);
        EXPECT_EQ(output.status, test.status) << test.command << '\n' << output.text;
        EXPECT_THAT(output.text, testing::HasSubstr(test.text)) << test.command;
        raised += test.status == 0 && test.command.find("RaiseSignal") != std::string::npos;
    }
    for (std::size_t i = 0; i < raised; ++i)
    {
        const TCMessagePtr signal = client.NextSignal();
        ASSERT_NE(signal, nullptr) << i;
        const std::string text = TextOf(signal);
        EXPECT_EQ(text, std::string("19 4294901763 \1\2\3\4\5\6\7\10\xff\xff\xff\xff\3\0\0\0", 30)) << i;
    }
    for (const TSControl& control : Controls())
    {
        EXPECT_NE(FindVerb(control.verb), nullptr) << control.name;
    }
}

TEST(SimulatorCalls, TerminatedCleanly)
{
    TCSimulatorProcess simulator;
    privatebus::SendSignal(simulator.process, SIGTERM);
    EXPECT_EQ(WaitForEnd(simulator.process), 0);
    EXPECT_FALSE(std::filesystem::exists(simulator.marker.Path()));

    // A second daemon cannot take the names of the first, and leaves the first one's marker alone.
    TCSimulatorProcess first;
    EXPECT_EQ(WaitForEnd(StartSimulator({"serve"})), 1);
    EXPECT_TRUE(std::filesystem::exists(first.marker.Path()));

    // A bus whose policy keeps the control object's name from it, as that of a set does.
    const TCPrivateBus strict(R"(<policy context="mandatory"><deny own="com.kelvora.cisim"/></policy>)");
    const TSOutput refused = Shell(SIMULATOR_PATH " serve");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.text, testing::HasSubstr("--no-control"));
}
} // namespace
} // namespace CIM::sim
