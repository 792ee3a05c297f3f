#include <ciapi-testing/Daemon.h>

#include "support/TestEnvironment.h"

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <gmock/gmock.h>

#include <fstream>
#include <thread>
#include <unistd.h>

namespace CIM::test
{
namespace
{
using ::testing::HasSubstr;

ICIGeneral& General() { return *TCCIService::CIGeneralInstance(); }

std::string Refusal(const std::function<void()>& body)
{
    try
    {
        body();
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    return {};
}

TEST(TestDaemon, AnswersAsTheTestSays)
{
    TCDaemon daemon;
    daemon.On(&ICIGeneral::GetCiSlotStatus,
              [](auto& statuses, unsigned selection)
              {
                  statuses[static_cast<unsigned char>(selection)] = CAM_STATUS_READY;
                  return 5;
              });
    std::map<unsigned char, ECamStatus> statuses;
    EXPECT_EQ(General().GetCiSlotStatus(statuses, 7), 5);
    EXPECT_EQ(statuses, (std::map<unsigned char, ECamStatus>{{7, CAM_STATUS_READY}}));

    daemon.Reset(&ICIGeneral::GetCiSlotStatus);
    statuses.clear();
    EXPECT_EQ(General().GetCiSlotStatus(statuses, 0), 1);
    EXPECT_EQ(statuses.size(), 2u) << "the model's slots";

    // An answer may replace itself.
    daemon.On(&ICIGeneral::IsCamPinNeeded,
              [&]
              {
                  daemon.On(&ICIGeneral::IsCamPinNeeded, [] { return 4; });
                  return 3;
              });
    EXPECT_EQ(General().IsCamPinNeeded(), 3);
    EXPECT_EQ(General().IsCamPinNeeded(), 4);
}

TEST(TestDaemon, AnAnswerThatThrowsFailsTheTest)
{
    const auto letAnAnswerThrow = [](TCDaemon& daemon)
    {
        daemon.On(&ICIGeneral::IsCamPinNeeded, []() -> int { throw std::runtime_error("thrown by a test"); });
        EXPECT_EQ(General().IsCamPinNeeded(), 0) << "the application is told, too";
    };
    {
        TCDaemon daemon;
        for (const std::function<void()>& look :
             {std::function<void()>([&] { daemon.CallCount(&ICIGeneral::EnterMenu); }),
              std::function<void()>([&] { daemon.Calls(); }),
              std::function<void()>([&] { daemon.Calls(&ICIGeneral::EnterMenu); }),
              std::function<void()>([&] { daemon.WaitForCall(&ICIGeneral::EnterMenu, std::chrono::seconds(0)); })})
        {
            letAnAnswerThrow(daemon);
            EXPECT_THAT(look, testing::ThrowsMessage<std::logic_error>(
                                  HasSubstr("answer to ICIGeneral.IsCamPinNeeded threw: thrown by a test")));
            EXPECT_NO_THROW(look()) << "told once";
        }
    }
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a program of its own: a bus outlives no fork
    EXPECT_DEATH(
        {
            TCDaemon daemon;
            letAnAnswerThrow(daemon);
        },
        "IsCamPinNeeded threw: thrown by a test\n.*no test was told");
}

TEST(TestDaemon, RefusesToComeBehindTheLibrarysFirstUse)
{
    const auto comeLate = []
    {
        {
            const TCFeatureKeys keys{{CI_FMS_NUM_OF_CI, "0"}}; // whose file exit() would leave behind
            TCCIService::IsCIOperable();
            std::fprintf(stderr, "%s\n", Refusal([] { TCDaemon late; }).c_str());
        }
        std::exit(7);
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(comeLate(), testing::ExitedWithCode(7), "libciapi was used .* before the first testing daemon");
}

TEST(TestDaemon, TellsOverloadsApart)
{
    using TNames = std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>;
    using TRecords = std::list<TSCIOperatorProfileData>;
    const auto named = Overload<int(TNames&)>(&ICIOperatorProfile::GetNotInstalledOperatorProfiles);
    const auto recorded = Overload<int(TRecords&)>(&ICIOperatorProfile::GetNotInstalledOperatorProfiles);
    TCDaemon daemon;
    daemon.On(named,
              [](TNames& names)
              {
                  names[3];
                  return 7;
              });
    daemon.On(recorded, [](TRecords&) { return 8; });
    ICIOperatorProfile& profiles = *TCCIService::CIOperatorProfileInstance();
    TNames names;
    TRecords records;
    EXPECT_EQ(profiles.GetNotInstalledOperatorProfiles(names), 7);
    EXPECT_EQ(names.count(3), 1u);
    EXPECT_EQ(profiles.GetNotInstalledOperatorProfiles(records), 8);
    EXPECT_EQ(daemon.CallCount(named), 1u);
    EXPECT_EQ(daemon.CallCount(recorded), 1u);
}

TEST(TestDaemon, RefusesWhatCannotBe)
{
    TCDaemon daemon;
    const auto never = [] { return 1; };
    EXPECT_THAT(Refusal([&] { daemon.On(&ICIGeneral::IsCiSupported, never); }), HasSubstr("never sent"));
    EXPECT_THAT(Refusal([&] { daemon.CallCount(&ICISignalSubscriber::SetCallback); }), HasSubstr("never sent"));
    EXPECT_THAT(Refusal([&] { daemon.InsertCam(1, "unheard-of"); }), HasSubstr("unheard-of"));
    EXPECT_THAT(Refusal([&] { daemon.Control("insert", "[]"); }), HasSubstr("JSON object"));
    EXPECT_THAT(Refusal([] { TCDaemon second; }), HasSubstr("com.kelvora.")) << "one at a time";

    TSOptions options;
    options.set = "{\n\"slots\": \"many\"}";
    EXPECT_THAT(Refusal([&] { TCDaemon broken(options); }), HasSubstr("set:2"));
    options.set.clear();
    options.scenario = "unheard-of";
    EXPECT_THAT(Refusal([&] { TCDaemon broken(options); }), HasSubstr("unheard-of"));

    std::map<unsigned char, ECamStatus> statuses;
    EXPECT_EQ(General().GetCiSlotStatus(statuses, 0), 1) << "the first one is unharmed";
}

TEST(TestDaemon, RecordsCalls)
{
    TCDaemon daemon;
    EXPECT_FALSE(daemon.WaitForCall(&ICIGeneral::EnterMenu, std::chrono::milliseconds(30)));
    std::thread caller([] { General().EnterMenu(1, true); });
    EXPECT_TRUE(daemon.WaitForCall(&ICIGeneral::EnterMenu));
    caller.join();
    General().CloseMmi(0, true, false); // by now the daemon knows the program's name

    const std::vector<TSCall> calls = daemon.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].interface + "." + calls[0].operation, "ICIGeneral.EnterMenu");
    EXPECT_EQ(calls[0].Argument("slot"), "1");
    EXPECT_EQ(calls[0].Argument("unheard-of"), "");
    EXPECT_TRUE(calls[0].isOneWay);
    EXPECT_EQ(calls[1].operation, "CloseMmi");
    EXPECT_EQ(calls[1].arguments, R"({"slot":0,"flag":true})");
    EXPECT_FALSE(calls[1].isOneWay);
    EXPECT_EQ(calls[1].processId, getpid());

    daemon.ClearCalls();
    EXPECT_EQ(daemon.CallCount(&ICIGeneral::EnterMenu), 0u);
}

struct TSHeard
{
    std::thread::id thread;
    ECISignalType type = SIGNAL_CI_TYPE_BEGIN;
    EProfile profile = PROFILE_NONE;
    unsigned short handle = 0;
    TSSignalData data;
};

int Hear(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* heard)
{
    *static_cast<TSHeard*>(heard) = {std::this_thread::get_id(), type, profile, handle, data};
    return 1;
}

TEST(TestDaemon, RaisesSignalsThatArriveOnTheDefaultContext)
{
    TCDaemon daemon;
    ICISignalSubscriber& subscriber = *TCCIService::CISignalSubscriberInstance(Hear);
    TSHeard heard;
    ASSERT_EQ(subscriber.Subscribe(SIGNAL_CI_CA_REPLY, &heard, PROFILE_RECORD, 9, 0), 1);

    daemon.Raise(SIGNAL_CI_CA_REPLY, PROFILE_RECORD, 9, SignalData(1, 0x71, 0x1234, 77));
    ASSERT_TRUE(RunUntil([&] { return heard.handle == 9; }));
    EXPECT_EQ(heard.thread, std::this_thread::get_id());
    EXPECT_EQ(heard.type, SIGNAL_CI_CA_REPLY);
    EXPECT_EQ(heard.profile, PROFILE_RECORD);
    const TSSignalData expected = SignalData(1, 0x71, 0x1234, 77);
    EXPECT_TRUE(std::equal(expected.bytes, expected.bytes + 8, heard.data.bytes));
    EXPECT_EQ(subscriber.Unsubscribe(SIGNAL_CI_CA_REPLY, PROFILE_RECORD, 9, 0), 1);
}

TEST(TestDaemon, MayFollowEachOther)
{
    {
        TCDaemon first;
        first.On(&ICIGeneral::IsCamPinNeeded, [] { return 42; });
        EXPECT_EQ(General().IsCamPinNeeded(), 42);
    }
    EXPECT_EQ(General().IsCamPinNeeded(), 0) << "nobody answers";

    TSOptions options;
    options.set = R"({"slots": 1})";
    options.featureKeys = {{CI_FMS_IS_ZIGGO, "true"}};
    TCDaemon second(options);
    std::map<unsigned char, ECamStatus> statuses;
    EXPECT_EQ(General().GetCiSlotStatus(statuses, 0), 1) << "the library's connection lives on";
    EXPECT_EQ(statuses.size(), 1u);
    EXPECT_EQ(second.Calls().size(), 1u);
    std::ifstream keys(getenv("TVPLATFORM_SYSTEM_INFO"));
    const std::string text(std::istreambuf_iterator<char>(keys), {});
    EXPECT_THAT(text, HasSubstr("product.num_of_ci=1\n"));
    EXPECT_THAT(text, HasSubstr("broadcasting.channel_search.upc_is_ziggo=true\n"));
}

TEST(TestDaemon, PlaysAScenario)
{
    const TCTempFolder folder;
    const std::string call = R"({"operation": "ICIGeneral.IsCamPinNeeded"})";
    for (const std::string& form :
         {R"("timeline": [{"wait-for-call": )" + call + "}]",
          R"("story": [{"says": "asks", "when": {"called": )" + call + "}}]",
          R"("story": [{"says": "begins"}], "expect": [{"says": "asks", "call": )" + call + "}]"})
    {
        std::ofstream(folder.File("pin.json"))
            << R"({"name": "pin", "description": "asks", "clock": "manual", "set": {"slots": 1}, )" << form << "}";
        TSOptions options;
        options.scenario = folder.File("pin.json");
        for (const bool isMet : {true, false})
        {
            TCDaemon daemon(options);
            if (isMet)
            {
                General().IsCamPinNeeded();
            }
            EXPECT_EQ(daemon.EndScenario(), isMet) << form;
            EXPECT_EQ(daemon.CallCount(&ICIGeneral::IsCamPinNeeded), isMet ? 1u : 0u);
        }
    }
}
} // namespace
} // namespace CIM::test
