#include "tools/PlayedDaemon.h"

#include <ciapi/CISignalDataType.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>
#include <utility>

// What goes over the bus, as cictl watches and traces it.

namespace CIM
{
namespace
{
using testing::HasSubstr;
} // namespace

TEST(Cictl, WatchesSignalsAndUnsubscribesWhenInterrupted)
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> heard;
    TCPlayedDaemon daemon(
        [&](const auto& request, const std::string& name)
        {
            const auto& operation = TCPlayedDaemon::Operation(request.get());
            const std::string arguments =
                operation.RequestToJson(TCScriptedDaemon::Payload(request.get())).json["signalType"].dump();
            const std::lock_guard lock(mutex);
            heard.push_back(name + " " + arguments);
            changed.notify_all();
            return TCPlayedDaemon::Answer(request, "{}");
        });
    const auto waitFor = [&](std::size_t count)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), [&] { return heard.size() >= count; });
    };
    const auto takeHeard = [&]
    {
        const std::lock_guard lock(mutex);
        return std::exchange(heard, {});
    };
    // Data, profile, handle and filler, as the daemon sends them; its texts are the identifier and the handle's number.
    const auto send = [&](unsigned char value)
    {
        char payload[16] = {};
        payload[0] = static_cast<char>(value);
        payload[7] = '\x7f';
        payload[12] = 3;
        (*daemon).Send(TCScriptedDaemon::Signal("Signal", "31", "3", {payload, sizeof payload}));
    };

    TCStartedCommand counting(
        {CICTL, "watch", "--count", "2", "--json", "--handle", "3", "31", "31", "--timeout", "30"});
    ASSERT_TRUE(waitFor(1));
    for (unsigned char value = 1; value < 4; ++value)
    {
        send(value);
    }
    TSRun run = counting.Wait();
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output,
                HasSubstr(R"("type":"SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE","profile":"PROFILE_MAIN",)"
                          R"("handle":3,"slot":2,"code":"CAM_UPGRADE_STATUS_RESET","id":0,"value":2130706432,)"
                          R"("meaning":{"reset":2130706432},)"
                          R"("words":"PROFILE_MAIN/3, slot 2: CAM_UPGRADE_STATUS_RESET, reset 2130706432"})"));
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 2) << run.output;
    ASSERT_TRUE(waitFor(2));
    EXPECT_THAT(takeHeard(), testing::ElementsAre("Subscribe \"SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE\"",
                                                  "Unsubscribe \"SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE\""));

    for (const auto& [signal, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)})
    {
        TCStartedCommand endless({CICTL, "watch", "CI_CA_REPLY"});
        ASSERT_TRUE(waitFor(2));
        endless.Signal(signal);
        EXPECT_EQ(endless.Wait().status, status);
        EXPECT_THAT(takeHeard(), testing::ElementsAre("GetCiSlotStatus null", "Subscribe \"SIGNAL_CI_CA_REPLY\"",
                                                      "Unsubscribe \"SIGNAL_CI_CA_REPLY\""));
    }
    EXPECT_EQ(Cictl({"watch", "CI_CA_REPLY", "--count", "1", "--timeout", "0.2"}).status, 6);
}

TEST(Cictl, TellsSignalsOfAllPipelinesInWordsAndWhatIsWrongWithOthers)
{
    TCPlayedDaemon daemon([](const auto& request, const std::string&)
                          { return TCPlayedDaemon::Answer(request, R"({"result": 1})"); });
    // Slot 1, code, id 2, value 3; profile 1, handle 3: the pipeline 65539.
    const auto payload = [](char code) { return std::string{1, code, 2, 0, 3, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0, 0}; };
    const auto sendAll = [&]
    {
        for (const auto& [type, pipeline, data] : {std::tuple("38", "65539", payload('\x71')),
                                                   {"38", "65539", payload('\x71').substr(0, 15)},
                                                   {"\x1b[2J", "65539", payload(0)},
                                                   {"38", "0", payload('\x73')},
                                                   {"52", "65539", payload(9)},
                                                   {"99", "65539", payload(7)}})
        {
            (*daemon).Send(TCScriptedDaemon::Signal("Signal", type, pipeline, data));
        }
    };
    TCStartedCommand watch({CICTL, "watch", "--count", "3", "--timeout", "30"});
    ASSERT_TRUE(watch.WaitForError("watching"));
    sendAll();
    const TSRun heard = watch.Wait();
    EXPECT_EQ(heard.status, 0);
    for (const char* const words :
         {" SIGNAL_CI_CA_REPLY PROFILE_SUB/3, slot 1: CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT, id 2, value 3\n",
          " SIGNAL_CI_PMT_SENT_TO_CAM PROFILE_SUB/3, slot 1: code 9, id 2, value 3\n",
          " signal 99 PROFILE_SUB/3, slot 1: code 7, id 2, value 3\n"})
    {
        EXPECT_THAT(heard.output, HasSubstr(words));
    }
    EXPECT_THAT(heard.error, HasSubstr("left out: its payload has 15 bytes, not 16"));
    EXPECT_THAT(heard.error, HasSubstr(R"(its type is no number: "\u001b[2J")"));
    EXPECT_THAT(heard.error, HasSubstr("it is sent for the pipeline \"0\", but is about 65539"));

    for (const bool asJson : {false, true})
    {
        TCStartedCommand trace(
            {CICTL, "trace", "--count", "6", "--timeout", "30", "--raw", asJson ? "--json" : "--raw"});
        ASSERT_TRUE(trace.WaitForError("tracing"));
        sendAll();
        const TSRun traced = trace.Wait();
        EXPECT_EQ(traced.status, 0) << traced.error;
        EXPECT_THAT(traced.output, HasSubstr(asJson ? R"("value":3,"words":"PROFILE_SUB/3, slot 1: code 9, id 2)"
                                                    : "PROFILE_SUB/3, slot 1: code 9, id 2, value 3 data=0109020003"));
        EXPECT_THAT(traced.output, HasSubstr(asJson ? R"("type":"\u001b[2J","data":"0100020003000000")"
                                                    : "signal \\x1b[2J data=0100020003000000 error=its type"));
        EXPECT_THAT(traced.output, HasSubstr("but is about 65539"));
    }
}

TEST(Cictl, TracesCallsRepliesAndSignals)
{
    TCPlayedDaemon daemon([](const auto& request, const std::string&)
                          { return TCPlayedDaemon::Answer(request, R"({"result": 1})"); });
    TCStartedCommand trace({CICTL, "trace", "--json", "--count", "2", "--timeout", "30"});
    ASSERT_TRUE(trace.WaitForError("tracing"));
    EXPECT_EQ(Cictl({"call", "general.VerifyCamPin", "slot=1", "pin=31323334"}).status, 0);
    const TSRun run = trace.Wait();
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, HasSubstr(R"("operation":"ICIGeneral.VerifyCamPin","program":"cictl",)"
                                      R"("arguments":{"slot":1,"pin":"***"}})"));
    EXPECT_THAT(run.output, HasSubstr(R"("kind":"reply","operation":"ICIGeneral.VerifyCamPin","status":1,"result":1)"));

    // Somebody got a call wrong: another member, another object.
    TCStartedCommand foreign({CICTL, "trace", "--count", "4", "--timeout", "30"});
    ASSERT_TRUE(foreign.WaitForError("tracing"));
    for (const char* const call : {"/com/kelvora/Object com.kelvora.ciapi.ICIGeneral.Methodcall",
                                   "/com/Other com.kelvora.ciapi.ICIGeneral.MethodCall"})
    {
        RunCommand({"sh", "-c",
                    std::string("dbus-send --system --print-reply --reply-timeout=5000 "
                                "--dest=com.kelvora.ciapi.ICIGeneral ") +
                        call});
    }
    const TSRun others = foreign.Wait();
    EXPECT_THAT(others.output, HasSubstr("ICIGeneral /com/kelvora/Object Methodcall error=this is none of"));
    EXPECT_THAT(others.output, HasSubstr("ICIGeneral /com/Other MethodCall error=this is none of"));

    const std::string payload = json::FindInterface("general")->Find("EnterMenu")->RequestFromJson({{"slot", 9}});
    const std::string hex = json::BytesToHex({reinterpret_cast<const unsigned char*>(payload.data()), payload.size()});
    EXPECT_THAT(Cictl({"decode", "general", "-", "--json"}, hex + "\n").output,
                HasSubstr(R"({"version":1,"operation":"ICIGeneral.EnterMenu","arguments":{"slot":9}})"));
    EXPECT_EQ(Cictl({"decode", "general", hex.substr(2)}).status, 1);
}
} // namespace CIM
