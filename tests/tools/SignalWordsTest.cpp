#include "json/Signals.h"
#include "json/ToJson.h"

#include <gtest/gtest.h>

namespace CIM::json
{
namespace
{
struct TSCase
{
    int type;
    int profile;
    unsigned short handle;
    const char* bytes; ///< slot, code, id and value as a little-endian machine has them
    const char* words;
    const char* meaning; ///< in JSON
};

// Typed by hand from the meaning of the signals, numbers and all: nothing here comes from the table.
constexpr TSCase CASES[] = {
    {17, 0, 0, "00 03 0000 04000000", "slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries", R"({"entries":4})"},
    {17, 0, 1, "01 04 0000 01000000", "slot 1: CI_MMI_STATUS_LIST_RECEIVED, 1 entry", R"({"entries":1})"},
    {17, 0, 0, "00 00 0000 00000000", "slot 0: CI_MMI_STATUS_SESSION_CLOSED", "null"},
    {17, 0, 0, "00 01 0000 05000000", "slot 0: CI_MMI_STATUS_ENQUIRY_RECEIVED, value 5", "null"},
    {17, 0, 0, "00 63 0700 00000000", "slot 0: code 99, id 7", "null"},
    {18, 0, 0, "00 00 0000 00000000", "slot 0: CAM_SILENT", "null"},
    {18, 0, 0, "00 10 0000 00000000", "slot 0: CI Plus error 16", "null"},
    {20, 0, 0, "00 01 0000 00000000", "slot 0: CAM_STATUS_READY", "null"},
    {20, 0, 5, "00 00 0000 00000000", "PROFILE_MAIN/5, slot 0: CAM_STATUS_NO_CAM", "null"},
    {21, 2, 7, "00 04 0000 12000000",
     "PROFILE_RECORD/7, slot 0: PIN_WINDOW_SHOW_HANDLER_IS_CAM_REQUEST_NEEDED, rating 18", R"({"rating":18})"},
    {23, 0, 0, "00 00 0200 00000000", "slot 0: CAM_PIN_CODE_STATUS_BAD, 2 tries left", R"({"triesLeft":2})"},
    {26, 0, 0, "00 07 0100 12000000", "PROFILE_MAIN/0, slot 0: CAM_PIN_CODE_SUPPORTED, 1 try left, rating 18",
     R"({"triesLeft":1,"rating":18})"},
    {27, 0, 0, "00 00 0300 02000000", "PROFILE_MAIN/0, slot 0: CI_APPMMI_MESSAGE_START_APP, session 3, data 2",
     R"({"session":3,"dataId":2})"},
    {31, 0, 0, "00 02 0100 00000000", "slot 0: CAM_UPGRADE_STATUS_REPLY_REQUESTED, CAM_UPGRADE_MODE_IMMEDIATE",
     R"({"mode":"CAM_UPGRADE_MODE_IMMEDIATE"})"},
    {31, 0, 0, "00 01 0000 28000000", "slot 0: CAM_UPGRADE_STATUS_PROGRESS, 40 %", R"({"percent":40})"},
    {31, 0, 0, "00 00 0000 ff000000", "slot 0: CAM_UPGRADE_STATUS_RESET, UPGRADE_FAILED",
     R"({"reset":"UPGRADE_FAILED"})"},
    {32, 0, 0, "00 01 0200 ffffffff",
     "slot 0: CAM_OP_STATUS_INSTALLATION_SUCCESS, ANTENNA_MODE_SATELLITE, SERVICE_MODE_NONE",
     R"({"antennaMode":"ANTENNA_MODE_SATELLITE","serviceMode":"SERVICE_MODE_NONE"})"},
    {33, 0, 0, "00 02 0100 02000000",
     "slot 0: CAM_SAS_STATUS_CONNECT_RESULT, session 1, SAS_CONNECTION_STATUS_CONNECT_DENIED_TOO_MANY_APP",
     R"({"session":1,"result":"SAS_CONNECTION_STATUS_CONNECT_DENIED_TOO_MANY_APP"})"},
    {33, 0, 0, "00 03 0100 02000000", "slot 0: CAM_SAS_STATUS_DATA_RECEIVED, session 1, message 2",
     R"({"session":1,"message":2})"},
    {34, 0, 0, "00 00 0000 03000000", "slot 0: 3 CA systems", R"({"caSystems":3})"},
    {36, 0, 0, "00 00 0000 01000000", "slot 0: CI_CAM_MONITOR_STATUS_ERROR_DETECTED, 1 reset", R"({"resets":1})"},
    {38, 0, 0, "00 71 0000 00000000", "PROFILE_MAIN/0, slot 0: CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT", "null"},
    {39, 1, 2, "ff 00 0000 00000000", "PROFILE_SUB/2", "null"},
    {44, 9, 2, "00 01 0000 00000000", "profile 9/2, slot 0: RELEASE_ANSWER_REFUSED", "null"},
    {48, 0, 0, "ff 04 0000 00000000", "PROFILE_MAIN/0: PLAYBACK_STOP_CONTENT_EXPIRED", "null"},
    {52, 0, 0, "00 04 0000 00000000", "PROFILE_MAIN/0, slot 0: ECAPMTCMD_NOT_SELECTED", "null"},
    {54, 0, 0, "00 01 0000 00000000", "PROFILE_MAIN/0, slot 0: PIPELINE_CONNECTED", "null"},
    {56, 0, 0, "ff 02 0000 ffffffff", "PROFILE_MAIN/0: EMI_COPY_ONCE, PLAYS_UNLIMITED",
     R"({"playsLeft":"PLAYS_UNLIMITED"})"},
    {57, 0, 0, "00 00 0100 03000000",
     "slot 0: CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM, file system 1, DOMAIN_IDS_HbbTVEngineProfile1",
     R"({"fileSystem":1,"domain":"DOMAIN_IDS_HbbTVEngineProfile1"})"},
    {57, 0, 0, "00 01 0100 03000000", "slot 0: CI_FILE_RETRIEVAL_NEW_FILE, file system 1, application 3",
     R"({"fileSystem":1,"application":3})"},
    {60, 0, 0, "00 01 0000 00000000", "slot 0: SAC_ESTABLISHED", "null"},
    {61, 0, 0, "00 00 4a01 02000800",
     "PROFILE_MAIN/0, slot 0: CI_SD_TX_STATUS_READY_TO_RECEIVE, DRM system 330, "
     "CI_SD_DRM_STATUS_ERROR_NO_ENTITLEMENT, buffer size 8",
     R"({"drmSystem":330,"drmStatus":"CI_SD_DRM_STATUS_ERROR_NO_ENTITLEMENT","bufferSize":8})"},
    {64, 0, 0, "00 ff 0900 00000000", "slot 0: PLAYER_ERROR_CAM_GONE, player 9", R"({"player":9})"},
    {65, 0, 0, "00 00 0900 ffffffff", "slot 0: player 9, PLAY_TIME_UNKNOWN",
     R"({"player":9,"seconds":"PLAY_TIME_UNKNOWN"})"},
    {66, 0, 0, "00 00 0900 3c000000", "slot 0: player 9, 60 s", R"({"player":9,"seconds":60})"},
    {67, 0, 0, "00 00 0900 9cff0000", "slot 0: player 9, speed -100 %", R"({"player":9,"speed":-100})"},
    {67, 0, 0, "00 00 0900 9cff0100", "slot 0: player 9, speed -100 %, value 65536", R"({"player":9,"speed":-100})"},
    {19, 0, 0, "00 01 0200 03000000", "PROFILE_MAIN/0, slot 0: code 1, id 2, value 3", "null"},
    {99, 0, 0, "ff 00 0000 00000000", "PROFILE_MAIN/0: code 0", "null"},
};

protocol::SSignal SignalOf(const TSCase& each)
{
    return {static_cast<ECISignalType>(each.type), static_cast<EProfile>(each.profile), each.handle,
            FromJson<TSSignalData>(each.bytes)};
}
} // namespace

TEST(SignalWords, TellWhatTheBytesMean)
{
    for (const TSCase& each : CASES)
    {
        SCOPED_TRACE(std::to_string(each.type) + " " + each.bytes);
        const TJson json = SignalDataToJson(SignalOf(each));
        EXPECT_EQ(SignalWords(SignalOf(each)), each.words);
        EXPECT_EQ(Dump(json.value("meaning", TJson())), each.meaning);
    }
}

TEST(SignalWords, JsonHasTheFieldsAsTheyAre)
{
    const TSCase menu{17, 0, 0, "00 03 0700 04000000", "", ""};
    EXPECT_EQ(Dump(SignalDataToJson(SignalOf(menu))),
              R"({"slot":0,"code":"CI_MMI_STATUS_MENU_RECEIVED","id":7,"value":4,"meaning":{"entries":4},)"
              R"("words":"slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries, id 7"})");
    const TSCase unknown{99, 0, 0, "ff 09 0000 04000000", "", ""};
    EXPECT_EQ(Dump(SignalDataToJson(SignalOf(unknown))),
              R"({"slot":null,"code":9,"id":0,"value":4,"words":"PROFILE_MAIN/0: code 9, value 4"})");
}

TEST(SignalWords, AreReadForTheSignalThatHasThem)
{
    const TCJsonPath path("code");
    const auto code = [&](const TJson& json, ECISignalType type)
    { return FromJson<TSSignalCode>(json, path).For(type, 0, path); };
    EXPECT_EQ(code("CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT", SIGNAL_CI_CA_REPLY), 0x71u);
    EXPECT_EQ(code("0x71", SIGNAL_CI_CAM_READY_STATUS_CHANGED), 0x71u);
    EXPECT_EQ(code(9, SIGNAL_CI_TTX_STATUS_CHANGE), 9u);
    const auto complaint = [&](const auto& read) -> std::string
    {
        try
        {
            read();
        }
        catch (const TCJsonError& error)
        {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(complaint([&] { code("CAM_STATUS_READY", SIGNAL_CI_CAM_MODE_CHANGED); }),
              "code: CAM_STATUS_READY means nothing here in SIGNAL_CI_CAM_MODE_CHANGED; there are CAM_MODE_CI, "
              "CAM_MODE_CI_PLUS");
    EXPECT_EQ(complaint([&] { code("CAM_STATUS_READY", SIGNAL_CI_TTX_STATUS_CHANGE); }),
              "code: CAM_STATUS_READY means nothing here in SIGNAL_CI_TTX_STATUS_CHANGE, which takes a number");
    EXPECT_EQ(complaint([&] { code("READY", SIGNAL_CI_CAM_READY_STATUS_CHANGED); }),
              "code: \"READY\" is neither a number nor a word of any signal's code");
    EXPECT_EQ(complaint([&] { code(256, SIGNAL_CI_CA_REPLY); }), "code: 256 is not within 0 to 255");

    const auto value = [&](const TJson& json, ECISignalType type, unsigned with)
    { return FromJson<TSSignalValue>(json, path).For(type, with, path); };
    EXPECT_EQ(value("PLAY_TIME_UNKNOWN", SIGNAL_CI_CICAM_PLAYER_INFO_POSITION, 0), 0xFFFFFFFFu);
    EXPECT_EQ(value("UPGRADE_FAILED", SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE, CAM_UPGRADE_STATUS_RESET), 255u);
    EXPECT_NE(complaint([&] { value("UPGRADE_FAILED", SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE, 1); }), "none");
    EXPECT_EQ(FromJson<TSSignalId>("ANTENNA_MODE_NONE").For(SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE, 0, path),
              0xFFFFu);
    EXPECT_EQ(SignalTypeFromJson("CA_REPLY", path), SIGNAL_CI_CA_REPLY);
    EXPECT_EQ(SignalTypeFromJson(38, path), SIGNAL_CI_CA_REPLY);
}

TEST(SignalWords, EnumeratorsOfOtherSignalsAreNotFilledIn)
{
    using protocol::MakeSignalData;
    EXPECT_THROW(MakeSignalData(SIGNAL_CI_CAM_MODE_CHANGED, 0, CAM_STATUS_READY, {}, {}), std::logic_error);
    EXPECT_THROW(MakeSignalData(SIGNAL_CI_SAS_STATUS_CHANGE, 0, CAM_SAS_STATUS_SESSION_OPEN, 1,
                                SAS_CONNECTION_STATUS_CONNECT_OK),
                 std::logic_error);
    EXPECT_EQ(ToJson(MakeSignalData(SIGNAL_CI_CAM_MODE_CHANGED, 1, CAM_MODE_CI_PLUS, {}, {})), "0101000000000000");
}
} // namespace CIM::json
