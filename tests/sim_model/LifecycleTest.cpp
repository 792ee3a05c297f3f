#include "Recorder.h"

#include "simulator/model/Subscriber.h"
#include "simulator/world/Random.h"

#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace CIM::sim
{
namespace
{
const TVSHandle RECORD(PROFILE_RECORD, 3);

/// Everything at once: what a CAM can be busy with when it is pulled.
void BusyWithEverything(TCRecorder& recorder)
{
    MakeReady(recorder);
    TCModel& model = recorder.model;
    unsigned short session = 0;
    EOperatorProfileStartInstallationStatus status{};
    ASSERT_EQ(model.Of<ICIGeneral>().SendCaPmt(0, RECORD, {}, ECAPMTCMD_OKDESCR, false), 1);
    ASSERT_EQ(model.Of<IPvrCip>().SetRecordingEsPids(RECORD, {256}, false), 1);
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", "/pvr/play-twice.ts"}}));
    ASSERT_EQ(model.Of<ICIGeneral>().ConnectToSasApplication(1, session), 1);
    ASSERT_TRUE(model.Of<ICICAMPlayer>().PlayRequest(TSIPServiceLocationData("<location>news</location>")).IsValid());
    ASSERT_TRUE(model.Of<ICISampleDecryption>().StartSampleDecryption(RECORD, 0x0B00, {TSDRMMetadataRecord()}));
    ASSERT_TRUE(recorder.Do("host-control"));
    ASSERT_TRUE(recorder.Do("start-app"));
    recorder.Advance(400);
    ASSERT_TRUE(recorder.Do("open-menu"));
    ASSERT_TRUE(recorder.Do("start-upgrade"));
    ASSERT_EQ(model.Of<ICIGeneral>().SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_YES, false), 1);
    ASSERT_EQ(model.Of<ICIOperatorProfile>().StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_PNP, 0, status),
              1);
    ASSERT_EQ(status, OP_START_INSTALLATION_STARTED);
    recorder.Take();
}
} // namespace

TEST(SimLifecycle, InsertionTakesItsTimeAndTellsInOrder)
{
    TCRecorder recorder;
    std::map<unsigned char, ECamStatus> statuses;
    ECIApplicationType type{};
    TCIText name;
    TCIText maker;
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    recorder.Advance(499);
    EXPECT_EQ(general.GetApplicationInfo(0, type, name, maker), 0);
    recorder.Advance(1);
    EXPECT_EQ(general.GetApplicationInfo(0, type, name, maker), 1);
    EXPECT_EQ(Utf8(name), "Kelvora CAM");
    EXPECT_EQ(Utf8(maker), "Kelvora");
    EXPECT_EQ(general.EnterMenu(0, false), 0) << "not ready yet";
    recorder.Advance(10'000);
    EXPECT_THAT(recorder.Take(), ElementsAre("1000 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 2",
                                             "1500 CAM_MODE_CHANGED slot 0 code 1 id 0 value 0",
                                             "1500 SAC_STATUS_CHANGE slot 0 code 1 id 0 value 0",
                                             "1500 CAM_READY_STATUS_CHANGED slot 0 code 1 id 0 value 0",
                                             "1500 FILE_RETRIEVAL_MESSAGE slot 0 code 0 id 1 value 2",
                                             "1500 OPERATOR_PROFILE_STATUS_CHANGE slot 0 code 0 id 2 value 1"));
    EXPECT_EQ(general.GetCiSlotStatus(statuses, 0), 1);
    EXPECT_EQ(statuses, (std::map<unsigned char, ECamStatus>{{0, CAM_STATUS_READY}, {1, CAM_STATUS_NO_CAM}}));
    EXPECT_EQ(general.GetCiSlotStatus(statuses, 2), 1);
    EXPECT_EQ(statuses, (std::map<unsigned char, ECamStatus>{{1, CAM_STATUS_NO_CAM}}));
}

TEST(SimLifecycle, PullingTheCamEndsEverythingInTheDocumentedOrder)
{
    TCRecorder recorder;
    ASSERT_NO_FATAL_FAILURE(BusyWithEverything(recorder));
    ASSERT_TRUE(recorder.Do("remove"));
    EXPECT_THAT(recorder.Take(), ElementsAre("1900 MMI_STATUS_CHANGED slot 0 code 0 id 0 value 0",
                                             "1900 CAM_UGRADE_STATUS_CHANGE slot 0 code 0 id 0 value 255",
                                             "1900 APP_MMI_ABORT_REQ slot 0 code 2 id 1 value 2",
                                             "1900 APPMMI_MESSAGE slot 0 code 2 id 1 value 2",
                                             "1900 SAS_STATUS_CHANGE slot 0 code 1 id 1 value 0",
                                             "1900 FILE_RETRIEVAL_MESSAGE slot 0 code 2 id 1 value 2",
                                             "1900 CICAM_PLAYER_ERROR slot 0 code 255 id 0 value 0",
                                             "1900 CICAM_PLAYER_PLAYBACK_STATUS slot 0 code 0 id 0 value 0",
                                             "1900 PLAYBACK_STOP_REQUEST slot 255 code 2 id 0 value 0",
                                             "1900 RECORD_STOP_REQUEST slot 255 code 2 id 0 value 0 at 2/3",
                                             "1900 SAMPLE_DECRYPTION_STATUS_CHANGED slot 0 code 2 id 2816 value "
                                             "327680001 at 2/3",
                                             "1900 OPERATOR_PROFILE_STATUS_CHANGE slot 0 code 2 id 2 value 1",
                                             "1900 TUNER_RELEASE_REPLY_STATUS slot 0 code 0 id 0 value 0",
                                             "1900 CAM_CONNECTED_TO_PIPELINE slot 0 code 0 id 0 value 0 at 2/3",
                                             "1900 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 0",
                                             "1900 SAC_STATUS_CHANGE slot 0 code 0 id 0 value 0",
                                             "1900 CAM_READY_STATUS_CHANGED slot 0 code 0 id 0 value 0"));
    recorder.Advance(3'600'000);
    EXPECT_THAT(recorder.Take(), IsEmpty()) << "what was scheduled for the CAM went with it";
    EXPECT_FALSE(recorder.Do("remove"));
}

TEST(SimLifecycle, AnswersForAGoneCamAreRefusedAndTheNextCamStartsAfresh)
{
    TCRecorder recorder;
    ASSERT_NO_FATAL_FAILURE(BusyWithEverything(recorder));
    ASSERT_TRUE(recorder.Do("remove"));
    ASSERT_TRUE(recorder.Do("insert", {{"cam", "plus"}}));
    recorder.Advance(1'500);
    TCModel& model = recorder.model;
    TBytes data;
    std::vector<TCCiAuxiliaryFileSystemDTO> fileSystems;
    EXPECT_EQ(model.Of<ICIGeneral>().AnswerMmiMenu(0, 1, false, false), 0);
    EXPECT_EQ(model.Of<ICIGeneral>().SendSasData(1, {1}), 0);
    EXPECT_EQ(model.Of<ICIGeneral>().SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_YES, false), 0);
    EXPECT_EQ(model.Of<ICIAppMMI>().SendRequestStartAck(1, 1), 0);
    EXPECT_EQ(model.Of<ICIAuxiliaryFileSystem>().GetAllAvailableFileSystems(fileSystems), 1);
    ASSERT_EQ(fileSystems.size(), 1u);
    EXPECT_EQ(fileSystems[0].shortValue, 2) << "identifiers are not used twice";
    unsigned short session = 0;
    EXPECT_EQ(model.Of<ICIGeneral>().ConnectToSasApplication(1, session), 1);
    EXPECT_EQ(session, 2);
}

TEST(SimLifecycle, ResetAndFailures)
{
    TCRecorder recorder;
    MakeReady(recorder);
    EXPECT_EQ(recorder.model.Of<ICIDebug>().ResetPcmcia(0), 1);
    EXPECT_EQ(recorder.model.Of<ICIDebug>().ResetPcmcia(1), 0) << "nothing to reset";
    recorder.Advance(1'500);
    EXPECT_THAT(recorder.Take(), testing::Contains("3000 CAM_READY_STATUS_CHANGED slot 0 code 1 id 0 value 0"));
    EXPECT_EQ(recorder.model.Of<ICIDebug>().DisableCAM(true), 1);
    recorder.Take();
    recorder.Advance(60'000);
    EXPECT_THAT(recorder.Take(), IsEmpty());
    EXPECT_EQ(recorder.model.Of<ICIDebug>().DisableCAM(false), 1);
    recorder.Advance(1'500);
    EXPECT_THAT(recorder.Take(), testing::Contains("64500 CAM_READY_STATUS_CHANGED slot 0 code 1 id 0 value 0"));

    TSSetDefinition set = DefaultSet();
    set.inserted.clear();
    set.cams[0].trustError = 14;
    set.cams[1].isSilent = true;
    set.cams.push_back(set.cams[0]);
    set.cams.back().name = "revoked";
    set.cams.back().trustError = 1;
    TCRecorder failing(set);
    ASSERT_TRUE(failing.Do("insert", {{"cam", "revoked"}}));
    failing.Advance(1'500);
    ASSERT_TRUE(failing.Do("reset"));
    failing.Advance(1'500);
    EXPECT_THAT(failing.Take(), ElementsAre("1000 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 2",
                                            "1500 CAM_COMPATIBILITY_ISSUE slot 0 code 1 id 0 value 0",
                                            "1500 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 0",
                                            "2500 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 2",
                                            "3000 CA_SYSTEMS_CHANGE slot 0 code 0 id 0 value 0"))
        << "the error is told once for an insertion";
    ASSERT_TRUE(failing.Do("remove"));
    ASSERT_TRUE(failing.Do("insert", {{"cam", "plus"}}));
    failing.Advance(1'500);
    std::map<unsigned char, ECamMode> modes;
    failing.model.Of<ICIGeneral>().GetCamModes(modes);
    EXPECT_EQ(modes, (std::map<unsigned char, ECamMode>{{0, CAM_MODE_CI}})) << "14 falls back to plain CI";
    failing.Take();
    ASSERT_TRUE(failing.Do("insert", {{"slot", 1}, {"cam", "plain"}}));
    failing.Advance(200'000);
    EXPECT_EQ(failing.Take().back(), "184500 CAM_COMPATIBILITY_ISSUE slot 1 code 0 id 0 value 0");
    EXPECT_EQ(failing.model.State()["slots"][1]["phase"], "failed");
}

TEST(SimLifecycle, SameSeedSameSignalsHoweverTheClockIsMoved)
{
    const auto play = [](TTime step)
    {
        TCRecorder recorder(DefaultSet(), 7);
        const auto wait = [&](TTime delay)
        {
            for (const TTime end = recorder.model.Now() + delay; recorder.model.Now() < end;)
            {
                recorder.model.AdvanceTo(std::min(end, recorder.model.Now() + step));
            }
        };
        wait(2'000);
        unsigned short session = 0;
        recorder.model.Of<ICIGeneral>().ConnectToSasApplication(2, session);
        recorder.model.Of<ICICAMPlayer>().PlayRequest(TSIPServiceLocationData("<location>news</location>"));
        recorder.Do("start-upgrade", {{"mode", "CAM_UPGRADE_MODE_IMMEDIATE"}});
        wait(1'000);
        recorder.model.Of<ICICAMPlayer>().MonitorPlayerInfo(TSCICAMPlayerHandle(0), 700);
        wait(20'000);
        return recorder.bytes;
    };
    const std::string once = play(1);
    EXPECT_GT(once.size(), 500u);
    EXPECT_EQ(once, play(1));
    EXPECT_EQ(once, play(100'000));
}

TEST(SimLifecycle, TheSeedDecidesHowLongThingsTake)
{
    TSSetDefinition set = DefaultSet();
    set.cams[0].jitterPercent = 20;
    std::set<std::string> runs;
    for (std::uint64_t seed = 1; seed <= 40; ++seed)
    {
        TCRecorder recorder(set, seed);
        TCRecorder again(set, seed);
        recorder.Advance(1'199);
        EXPECT_LE(recorder.lines.size(), 1u) << "ready too early with seed " << seed;
        recorder.Advance(601);
        again.Advance(1'800);
        EXPECT_EQ(recorder.lines.size(), 6u) << "not ready in time with seed " << seed;
        EXPECT_EQ(recorder.bytes, again.bytes);
        runs.insert(recorder.bytes);
    }
    EXPECT_GT(runs.size(), 30u);
    // The engine is the standard's mt19937_64, whose 10000th number from the default seed the standard names.
    TCRandom random(5489);
    std::uint64_t number = 0;
    for (int i = 0; i < 10'000; ++i)
    {
        number = random.Below(~std::uint64_t{0});
    }
    EXPECT_EQ(number, 9981545732273789042u);
}

TEST(SimLifecycle, SubscriptionsAreCountedByProcess)
{
    TCRecorder recorder;
    ICISignalSubscriber& subscriber = recorder.model.Of<ICISignalSubscriber>();
    TCSubscriber& list = recorder.model.Subscriptions();
    const auto type = SIGNAL_CI_MMI_STATUS_CHANGED;
    EXPECT_EQ(subscriber.Subscribe(type, nullptr, PROFILE_MAIN, 0, 100), 1);
    EXPECT_EQ(subscriber.Subscribe(type, nullptr, PROFILE_MAIN, 0, -200), 1);
    EXPECT_TRUE(list.IsWanted(type, PROFILE_MAIN, 0));
    EXPECT_FALSE(list.IsWanted(type, PROFILE_MAIN, 1));
    EXPECT_EQ(subscriber.Unsubscribe(type, PROFILE_MAIN, 0, 300), 0);
    EXPECT_EQ(subscriber.Unsubscribe(type, PROFILE_MAIN, 0, 100), 1);
    list.Forget(-200);
    EXPECT_FALSE(list.IsWanted(type, PROFILE_MAIN, 0));
    EXPECT_EQ(subscriber.Unsubscribe(type, PROFILE_MAIN, 0, -200), 0);
}
} // namespace CIM::sim
