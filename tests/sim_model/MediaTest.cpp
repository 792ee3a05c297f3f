#include "Recorder.h"

#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace CIM::sim
{
namespace
{
const TSIPServiceLocationData NEWS("<location>news</location>"); // ten minutes
const TSIPServiceLocationData LIVE("<location>live</location>");
constexpr TTime MINUTE = 60'000;

TSCICAMPlayerHandle Started(TCRecorder& recorder, const TSIPServiceLocationData& location)
{
    const TSCICAMPlayerHandle handle = recorder.model.Of<ICICAMPlayer>().PlayRequest(location);
    recorder.Advance(300);
    recorder.Take();
    return handle;
}

long long Position(TCRecorder& recorder) { return recorder.model.State()["player"]["positionMs"].get<long long>(); }

TSPlaybackPosition Absolute(int ms) { return {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, ms}; }
TSPlaybackPosition Relative(int ms) { return {TSPlaybackPosition::SEEK_MODE_RELATIVE, ms}; }
} // namespace

TEST(SimPlayer, PositionFollowsSpeedAndSeeks)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICICAMPlayer& player = recorder.model.Of<ICICAMPlayer>();
    const TSCICAMPlayerHandle handle = Started(recorder, NEWS);
    ASSERT_TRUE(handle.IsValid());
    EXPECT_FALSE(player.PlayRequest(NEWS).IsValid()) << "one playback at a time";
    const struct
    {
        short speed;
        TTime wait;
        long long position;
    } legs[] = {{100, 10'000, 10'000}, {33, 100, 10'033},      {50, 1, 10'033},         {50, 1, 10'034},
                {0, 5'000, 10'034},    {200, 60'000, 130'034}, {-100, 30'034, 100'000}, {-3200, 60'000, 0}};
    for (const auto& leg : legs)
    {
        ASSERT_TRUE(player.SetPlayerSpeed(handle, TSPlaybackSpeed(leg.speed)));
        recorder.Advance(leg.wait);
        EXPECT_EQ(Position(recorder), leg.position) << leg.speed;
    }
    EXPECT_THAT(recorder.Take().back(), HasSubstr("PLAYBACK_STATUS slot 0 code 3")) << "stands at the begin";
    EXPECT_TRUE(player.SetPlayerPosition(handle, Absolute(599'000)));
    EXPECT_FALSE(player.SetPlayerPosition(handle, Absolute(600'001)));
    EXPECT_FALSE(player.SetPlayerPosition(handle, Absolute(-1)));
    EXPECT_FALSE(player.SetPlayerPosition(handle, TSPlaybackPosition())) << "not live";
    EXPECT_FALSE(player.SetPlayerPosition(TSCICAMPlayerHandle(77), Absolute(0)));
    EXPECT_TRUE(player.SetPlayerPosition(handle, Relative(-9'000)));
    EXPECT_EQ(Position(recorder), 590'000);
    ASSERT_TRUE(player.SetPlayerSpeed(handle, TSPlaybackSpeed(300)));
    const TTime begin = recorder.model.Now();
    recorder.Take();
    recorder.Advance(10'000);
    EXPECT_THAT(recorder.Take(), ElementsAre(std::to_string(begin + 3'334) +
                                             " CICAM_PLAYER_PLAYBACK_STATUS slot 0 code 4 id 0 value 0"));
    EXPECT_EQ(Position(recorder), 600'000);
    EXPECT_TRUE(player.StopPlayer(TSCICAMPlayerHandle(77))) << "whichever handle is given";
    EXPECT_FALSE(player.StopPlayer(handle));
}

TEST(SimPlayer, MonitoringLiveAndErrors)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICICAMPlayer& player = recorder.model.Of<ICICAMPlayer>();
    const TSCICAMPlayerHandle live = Started(recorder, LIVE);
    ASSERT_TRUE(player.MonitorPlayerInfo(live, 2'000));
    recorder.Advance(5'000);
    ASSERT_TRUE(player.SetPlayerPosition(live, Relative(-4'000)));
    ASSERT_TRUE(player.SetPlayerPosition(live, TSPlaybackPosition()));
    ASSERT_TRUE(player.SetPlayerPosition(live, Relative(-1'000)));
    ASSERT_TRUE(player.SetPlayerSpeed(live, TSPlaybackSpeed(200)));
    recorder.Advance(1'500);
    const std::string info = " CICAM_PLAYER_INFO_";
    const std::string rest = " slot 0 code 0 id 0 value ";
    EXPECT_THAT(recorder.Take(),
                ElementsAre("1800" + info + "DURATION" + rest + "4294967295", "1800" + info + "POSITION" + rest + "0",
                            "1800" + info + "SPEED" + rest + "100", "3800" + info + "POSITION" + rest + "2",
                            "5800" + info + "POSITION" + rest + "4", "6800" + info + "POSITION" + rest + "1",
                            "6800" + info + "POSITION" + rest + "5", "6800" + info + "POSITION" + rest + "4",
                            "6800 CICAM_PLAYER_PLAYBACK_STATUS slot 0 code 1 id 0 value 0",
                            "6800" + info + "SPEED" + rest + "200", "7800" + info + "POSITION" + rest + "6",
                            "7800 CICAM_PLAYER_PLAYBACK_STATUS slot 0 code 1 id 0 value 0",
                            "7800" + info + "SPEED" + rest + "100"))
        << "at the live edge it goes on at nominal speed";
    ASSERT_TRUE(recorder.Do("player-error", {{"error", 2}}));
    recorder.Take();
    EXPECT_TRUE(player.VerifyLocation(NEWS).IsValid());
    EXPECT_TRUE(player.PlayRequest(TSIPServiceLocationData("nowhere")).IsValid());
    EXPECT_TRUE(player.PlayRequest(TSIPServiceLocationData("<location>forbidden</location>")).IsValid());
    recorder.Advance(60'000);
    EXPECT_THAT(recorder.Take(), ElementsAre("8400 CICAM_PLAYER_CONTENT_VERIFIED slot 0 code 1 id 1 value 0",
                                             "8400 CICAM_PLAYER_ERROR slot 0 code 1 id 2 value 0",
                                             "8400 CICAM_PLAYER_ERROR slot 0 code 2 id 3 value 0"));
}

TEST(SimPvr, RetentionRunsOutOnTheVirtualClock)
{
    TCRecorder recorder;
    MakeReady(recorder);
    IPvrCip& pvr = recorder.model.Of<IPvrCip>();
    const std::string file = "/pvr/ninety-minutes.ts";
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", file}, {"profile", 1}, {"handle", 5}}));
    const struct
    {
        TTime at;
        bool exceeded;
        EThumbType thumb;
        std::vector<SContentSection> sections;
        bool thumbAtStart;
        bool rewinds;
        int rewindLimit;
    } cases[] = {{30 * MINUTE - 1, false, THUMB_TYPE_OK, {}, true, true, -1},
                 {30 * MINUTE, false, THUMB_TYPE_PARTIAL_RETENTION, {{0, 600'000}}, false, true, 100'000},
                 {90 * MINUTE - 1, false, THUMB_TYPE_PARTIAL_RETENTION, {{0, 600'000}}, false, true, 100'000},
                 {90 * MINUTE, true, THUMB_TYPE_INVALID, {{0, 3'600'000}}, false, true, -1}};
    for (const auto& step : cases)
    {
        recorder.model.AdvanceTo(step.at);
        bool exceeded = !step.exceeded;
        bool valid = !step.thumbAtStart;
        int allowed = 0;
        EThumbType thumb{};
        ESpeedRestriction restriction{};
        std::vector<SContentSection> sections;
        EXPECT_EQ(pvr.IsFileExceededRetentionLimit(file, exceeded), 1);
        EXPECT_EQ(exceeded, step.exceeded) << step.at;
        EXPECT_EQ(pvr.GetCIThumbType(file, thumb), 1);
        EXPECT_EQ(thumb, step.thumb) << step.at;
        EXPECT_EQ(pvr.GetExpiredContentSections(file, sections), 1);
        EXPECT_EQ(sections, step.sections) << step.at;
        EXPECT_EQ(pvr.CheckThumbnailValidation(file, 0, valid), 1);
        EXPECT_EQ(valid, step.thumbAtStart) << step.at;
        EXPECT_EQ(pvr.IsFastRewindAllowed(700'000, allowed, restriction), step.rewinds);
        EXPECT_EQ(allowed, step.rewindLimit) << "not into the expired section, at " << step.at;
    }
    EXPECT_THAT(recorder.Take(), ElementsAre("1500 CC_LICENSE_CONFIRMED slot 255 code 3 id 0 value 4294967295 at 1/5",
                                             "5400000 PLAYBACK_STOP_REQUEST slot 255 code 4 id 0 value 0 at 1/5"));
}

TEST(SimPvr, PlayCountsLicencesAndLimits)
{
    TCRecorder recorder;
    MakeReady(recorder);
    IPvrCip& pvr = recorder.model.Of<IPvrCip>();
    const std::string file = "/pvr/play-twice.ts";
    EInfoType info{};
    unsigned char value = 9;
    const auto infoNow = [&]
    {
        EXPECT_EQ(pvr.GetContentInfo(file, info, value), 1);
        return std::make_pair(info, static_cast<int>(value));
    };
    EXPECT_EQ(infoNow(), std::make_pair(INFO_TYPE_PLAY_COUNT, 2));
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", file}}));
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", file}}));
    EXPECT_EQ(infoNow(), std::make_pair(INFO_TYPE_NOT_VALID, 0));
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", file}}));
    EXPECT_THAT(recorder.Take().back(), HasSubstr("PLAYBACK_STOP_REQUEST slot 255 code 2"));
    ASSERT_TRUE(recorder.Do("remove"));
    EXPECT_EQ(infoNow(), std::make_pair(INFO_TYPE_CICAM_NOT_INSERTED, 0));
    recorder.Take();
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", file}}));
    EXPECT_THAT(recorder.Take().back(), HasSubstr("PLAYBACK_STOP_REQUEST slot 255 code 1"));

    bool flag = false;
    EXPECT_EQ(pvr.IsBlockedByParentalControl("/pvr/rated.ts", flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(pvr.IsBlockedByParentalControl("", flag), 0);
    int allowed = 5;
    ESpeedRestriction restriction{};
    EXPECT_TRUE(pvr.IsFastForwardAllowed(0, allowed, restriction)) << "nothing is played";
    EXPECT_EQ(allowed, -1);
    EXPECT_EQ(restriction, SPEED_RESTRICTION_NONE);
    const json::TJson limits = {{"fastForward", 0}, {"skipForward", 30'000}, {"maxSpeed", 2}};
    ASSERT_TRUE(recorder.Do("add-recording", {{"recording", {{"file", "/new"}, {"limits", limits}}}}));
    ASSERT_TRUE(recorder.Do("play-recording", {{"file", "/new"}}));
    EXPECT_FALSE(pvr.IsFastForwardAllowed(0, allowed, restriction));
    EXPECT_EQ(restriction, 2);
    EXPECT_TRUE(pvr.IsSkippingForwardAllowed(0, allowed));
    EXPECT_EQ(allowed, 30'000);
}

TEST(SimDecryption, StatusesComeInTheirTime)
{
    TSSetDefinition set = DefaultSet();
    set.cams[0].drmSystems[0].status = CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED;
    set.cams[0].drmSystems[0].changes = {{5'000, CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE}};
    TCRecorder recorder(set);
    MakeReady(recorder);
    ICISampleDecryption& decryption = recorder.model.Of<ICISampleDecryption>();
    const TSDRMUuid uuid(set.cams[0].drmSystems[0].uuid);
    const TVSHandle pipeline(PROFILE_MAIN, 2);
    EXPECT_TRUE(decryption.IsDRMSupported(TSDRMSystemId(0x0B00)));
    EXPECT_TRUE(decryption.IsDRMSupported(uuid));
    EXPECT_FALSE(decryption.IsDRMSupported(TSDRMSystemId()));
    EXPECT_FALSE(decryption.IsDRMSupported(TSDRMUuid()));
    const TSDRMMetadataRecord unknown(CENC_PSSH_BOX, TSDRMSystemId(1), TSDRMUuid(), TBytes(65'536));
    const TSDRMMetadataRecord known(CENC_PSSH_BOX, TSDRMSystemId(), uuid, {1});
    EXPECT_FALSE(decryption.StartSampleDecryption(pipeline, {TSSampleTrackNonTSFormat(100, {unknown})}));
    EXPECT_FALSE(decryption.StartSampleDecryption(pipeline, std::vector<TSSampleTrackNonTSFormat>()));
    EXPECT_FALSE(decryption.UpdateSampleDecryption(pipeline, {known})) << "nothing runs";
    EXPECT_TRUE(decryption.StartSampleDecryption(pipeline, {TSSampleTrackNonTSFormat(100, {unknown, known})}));
    EXPECT_FALSE(decryption.StartSampleDecryption(pipeline, {TSSampleTrackNonTSFormat(100, {known})})) << "runs";
    EXPECT_TRUE(decryption.StartSampleDecryption(TVSHandle(PROFILE_SUB, 0), 0x0B00, {unknown}));
    recorder.Advance(10'000);
    const std::string line = " SAMPLE_DECRYPTION_STATUS_CHANGED slot 0 code ";
    const std::string buffer = std::to_string(5'000 << 16);
    EXPECT_THAT(recorder.Take(),
                ElementsAre("1550" + line + "0 id 2816 value " + std::to_string((5'000 << 16) + 1) + " at 0/2",
                            "1550" + line + "1 id 2816 value " + std::to_string((5'000 << 16) + 1) + " at 1/0",
                            "6550" + line + "0 id 2816 value " + buffer + " at 0/2"))
        << "undetermined, then possible; a second one finds the CAM busy";
    EXPECT_TRUE(decryption.UpdateSampleDecryption(pipeline, std::vector<TSDRMMetadataRecord>()));
    EXPECT_FALSE(decryption.UpdateSampleDecryption(pipeline, {known})) << "an empty update has ended it";
}
} // namespace CIM::sim
