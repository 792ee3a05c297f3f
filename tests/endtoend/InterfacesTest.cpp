#include "endtoend/Simulator.h"

#include <gmock/gmock.h>

// The interfaces beside ICIGeneral, through the facade against the simulator's own set.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using TWide = std::basic_string<unsigned short>;

class InterfacesEndToEnd : public testing::Test
{
protected:
    InterfacesEndToEnd() { m_simulator.Advance(2'000); } // until the CAM is ready

    TCSimulator m_simulator;
    const TVSHandle m_pipeline{PROFILE_MAIN, 1};
};
} // namespace

TEST_F(InterfacesEndToEnd, AppMMI)
{
    ICIAppMMI* const ci = TCCIService::CIAppMMIInstance();
    EXPECT_EQ(ci->SetApplicationState(m_pipeline, CI_APPMMI_INVALID, CI_APPMMI_STATE_READY, 5), 0);
    EXPECT_EQ(ci->SetApplicationState(m_pipeline, CI_APPMMI_HBB, CI_APPMMI_STATE_PLAYING, 5'000'000'000), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"({"application":"CI_APPMMI_HBB","state":"CI_APPMMI_STATE_PLAYING",)"
                                               R"("value":5000000000})"));

    EXPECT_EQ(ci->SendRequestStartAck(1, 1), 0);
    m_simulator.Control("start-app", R"({"domain": "domain", "object": "start.xml", "profile": 1, "handle": 513})");
    std::vector<unsigned char> first;
    std::vector<unsigned char> second;
    TVSHandle pipeline;
    bool flag = false;
    EXPECT_EQ(ci->GetStartAppData(2, 1, first, second, pipeline, flag), 0);
    EXPECT_EQ(ci->GetStartAppData(1, 1, first, second, pipeline, flag), 1);
    EXPECT_EQ(String(first) + "/" + String(second), "domain/start.xml");
    EXPECT_EQ(pipeline, TVSHandle(PROFILE_SUB, 513));
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->SendRequestStartAck(1, 1), 1);
    EXPECT_EQ(ci->SendFileRequest(1, Bytes("start.xml"), APP_REQUEST_FILE), 1);
    m_simulator.Advance(30);
    bool isServed = false;
    int value = -1;
    flag = false;
    EXPECT_EQ(ci->GetFileAckData(2, flag, isServed, value, first, second), 1);
    EXPECT_TRUE(flag && isServed);
    EXPECT_EQ(value, APP_REQUEST_FILE);
    EXPECT_EQ(String(first) + " " + String(second), "start.xml <a/>");
    EXPECT_EQ(ci->SendAppAbortRequest(1, Bytes("enough")), 1);
    EXPECT_EQ(ci->SendAppAbortRequest(1, Bytes("enough")), 0);
    m_simulator.Advance(30);
    EXPECT_EQ(ci->GetAbortAckData(3, first), 1);
    EXPECT_EQ(String(first), "enough");

    m_simulator.Control("start-app", "");
    m_simulator.Control("abort-app", R"({"data": "0a0b"})");
    EXPECT_EQ(ci->GetAbortRequestData(5, first), 1);
    EXPECT_EQ(first, Hex("0a0b"));
    EXPECT_EQ(ci->SendAppAbortAck(2, {}), 1);
    EXPECT_EQ(ci->SendAppAbortAck(2, {}), 0);
}

TEST_F(InterfacesEndToEnd, AuxiliaryFileSystem)
{
    ICIAuxiliaryFileSystem* const ci = TCCIService::CIAuxiliaryFileSystemInstance();
    std::vector<TCCiAuxiliaryFileSystemDTO> systems;
    EXPECT_EQ(ci->GetAllAvailableFileSystems(systems), 1);
    ASSERT_EQ(systems.size(), 1u);
    EXPECT_EQ(systems[0].shortValue, 1);
    EXPECT_EQ(systems[0].intValue, 0);
    EXPECT_EQ(systems[0].domainId, DOMAIN_IDS_CIMHEGP1);
    unsigned char application = 0;
    EXPECT_EQ(ci->RegisterApplication(7, application), 0);
    EXPECT_EQ(ci->RegisterApplication(1, application), 1);
    EXPECT_EQ(application, 1);
    EXPECT_EQ(ci->RequestFile(1, 9, APP_REQUEST_FILE, Bytes("index.html")), 0);
    EXPECT_EQ(ci->RequestFile(1, 1, APP_REQUEST_FILE, Bytes("index.html")), 1);
    EXPECT_EQ(ci->RequestFile(1, 1, APP_REQUEST_FILE, Bytes("big.bin")), 1);
    TCCiFileAckDTO acknowledgement;
    EXPECT_EQ(ci->GetFileAcknowledge(1, acknowledgement), 0);
    m_simulator.Advance(50);
    EXPECT_EQ(ci->GetFileAcknowledge(1, acknowledgement), 1);
    EXPECT_TRUE(acknowledgement.firstFlag && acknowledgement.secondFlag);
    EXPECT_EQ(acknowledgement.requestType, APP_REQUEST_FILE);
    EXPECT_EQ(String(acknowledgement.firstData), "index.html");
    EXPECT_EQ(String(acknowledgement.secondData), "<p>CAM</p>");
    EXPECT_EQ(ci->GetFileAcknowledge(1, acknowledgement), 1);
    ASSERT_EQ(acknowledgement.secondData.size(), 5u * 1'024 * 1'024);
    for (std::size_t at = 0; at < acknowledgement.secondData.size(); ++at)
    {
        ASSERT_EQ(acknowledgement.secondData[at], at % 256) << at;
    }
    EXPECT_EQ(ci->UnregisterApplication(1, 1), 1);
    EXPECT_EQ(ci->UnregisterApplication(1, 1), 0);
}

TEST_F(InterfacesEndToEnd, CICAMPlayer)
{
    ICICAMPlayer* const ci = TCCIService::CICAMPlayerInstance();
    const TSIPServiceLocationData news("<location>news</location>");
    const TSCICAMPlayerHandle verified = ci->VerifyLocation(news);
    EXPECT_TRUE(verified.IsValid());
    const TSCICAMPlayerHandle player = ci->PlayRequest(news);
    EXPECT_TRUE(player.IsValid());
    EXPECT_NE(player, verified);
    EXPECT_FALSE(ci->PlayRequest(news).IsValid()) << "one at a time";
    EXPECT_FALSE(ci->SetPlayerSpeed(player, TSPlaybackSpeed(200))) << "not started yet";
    m_simulator.Advance(300);
    EXPECT_FALSE(ci->SetPlayerSpeed(verified, TSPlaybackSpeed(200)));
    EXPECT_TRUE(ci->SetPlayerSpeed(player, TSPlaybackSpeed(200)));
    EXPECT_FALSE(ci->SetPlayerPosition(player, {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 700'000}));
    EXPECT_TRUE(ci->SetPlayerPosition(player, {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 100'000}));
    EXPECT_TRUE(ci->SetPlayerPosition(player, {TSPlaybackPosition::SEEK_MODE_RELATIVE, -40'000}));
    EXPECT_TRUE(ci->MonitorPlayerInfo(player, 1'000));
    m_simulator.Advance(1'000);
    EXPECT_TRUE(ci->SetPlayerSpeed(player, TSPlaybackSpeed(-50)));
    m_simulator.Advance(1'000);
    const std::string state = m_simulator.State();
    EXPECT_THAT(state, HasSubstr(R"("monitorMs":1000)"));
    EXPECT_THAT(state, HasSubstr(R"("positionMs":61500)"));
    EXPECT_THAT(state, HasSubstr(R"("speed":-50)"));
    EXPECT_TRUE(ci->StopPlayer(TSCICAMPlayerHandle())) << "whichever is playing";
    EXPECT_FALSE(ci->StopPlayer(player));
}

TEST_F(InterfacesEndToEnd, Debug)
{
    ICIDebug* const ci = TCCIService::CIDebugInstance();
    ICIGeneral* const general = TCCIService::CIGeneralInstance();
    const auto slotStatus = [&]
    {
        std::map<unsigned char, ECamStatus> statuses;
        EXPECT_EQ(general->GetCiSlotStatus(statuses, 0), 1);
        return statuses[0];
    };
    unsigned char count = 0;
    EXPECT_EQ(ci->GetSlotsCount(count), 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ci->PrintStatus() + ci->OPPrintBootupReason() + ci->PrintCIServiceProtectionDatabase(), 3);
    std::string state = m_simulator.State();
    EXPECT_THAT(state, HasSubstr("slot0:ready,CAM'plus'"));
    EXPECT_THAT(state, HasSubstr("startedbythesimulator"));
    EXPECT_THAT(state, HasSubstr("protectedservice1-1079-28006"));
    EXPECT_EQ(ci->ClearCIServiceProtectionDatabase(), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("protectedServices":[])"));

    EXPECT_EQ(general->SendCaPmt(0, m_pipeline, {}, ECAPMTCMD_OKDESCR, false), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr("slot0descramblesfor0/1"));
    EXPECT_EQ(ci->ClearDescramblingHistory(), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("history":[])"));

    bool flag = false;
    for (const bool isThrough : {false, true})
    {
        EXPECT_EQ(ci->SetTransportStreamRouteMode(1, isThrough), 1);
        EXPECT_EQ(ci->GetTransportStreamRouteMode(1, flag), 1);
        EXPECT_EQ(flag, isThrough);
    }
    EXPECT_EQ(ci->RunMSPUCommand(0, CI_DEBUG_MSPU_START_LTSID, 3, 0x0504), 0);
    EXPECT_EQ(ci->RunMSPUCommand(0, CI_DEBUG_MSPU_SET_LTS_ID, 3, 0x0504), 1);
    EXPECT_EQ(ci->RunMSPUCommand(0, CI_DEBUG_MSPU_START_LTSID, 3, 0x0504), 1);
    state = m_simulator.State();
    EXPECT_THAT(state, HasSubstr(R"("runningLtsIds":[1284])"));
    EXPECT_THAT(state, HasSubstr(R"("lastParameter":3)"));

    EXPECT_EQ(ci->IsTunerLockedByCI(flag), 1);
    EXPECT_FALSE(flag);
    m_simulator.Control("host-control", "");
    EXPECT_EQ(ci->IsTunerLockedByCI(flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->DebugTunePreparationAck(true), 0);
    EXPECT_EQ(ci->DebugTunePreparation(true), 1);
    EXPECT_EQ(general->GetTuneBlockedByCi(m_pipeline, STATE_CHANGE_SERVICE, 0, flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->DebugTunePreparationAck(true), 1);
    flag = false;
    EXPECT_EQ(ci->CILogToggle(flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->CILogToggle(flag), 1);
    EXPECT_FALSE(flag);

    EXPECT_EQ(ci->OPRegisterSchedule(10), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr("\"scheduledAt\":" + std::to_string(m_simulator.Advance(0) + 10'000)));
    EXPECT_EQ(ci->OPClearSchedule(), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("scheduledAt":-1)"));
    const auto installed = [&]
    {
        std::list<TSCIOperatorProfileData> profiles;
        EXPECT_EQ(TCCIService::CIOperatorProfileInstance()->GetInstalledOperatorProfiles(profiles), 1);
        return profiles.size();
    };
    EXPECT_EQ(ci->StartOperatorProfileInstallation(), 1);
    m_simulator.Advance(3'000);
    EXPECT_EQ(installed(), 1u);
    EXPECT_EQ(ci->RemoveAllOperatorProfiles(), 1);
    EXPECT_EQ(installed(), 0u);

    EXPECT_EQ(ci->TransferCertifcateDataFromEepromToSecureStorage(), 0) << "there is nothing to move";
    EXPECT_EQ(ci->ResetCertificateDataInEeprom() + ci->ResetCertificateDataInSecureStorage(), 2);
    EXPECT_EQ(general->CipTest(flag), 1);
    EXPECT_FALSE(flag);

    struct TSReset
    {
        const char* name;
        std::function<int()> call;
    };
    for (const TSReset& reset : {TSReset{"ResetPcmcia", [&] { return ci->ResetPcmcia(0); }},
                                 TSReset{"RestartCIMManager", [&] { return ci->RestartCIMManager(); }},
                                 TSReset{"FactoryReset", [&] { return ci->FactoryReset(); }}})
    {
        SCOPED_TRACE(reset.name);
        EXPECT_EQ(slotStatus(), CAM_STATUS_READY);
        EXPECT_EQ(reset.call(), 1);
        EXPECT_EQ(slotStatus(), CAM_STATUS_NO_CAM);
        m_simulator.Advance(2'000);
    }
    EXPECT_EQ(ci->DisableCAM(true), 1);
    m_simulator.Advance(2'000);
    EXPECT_EQ(slotStatus(), CAM_STATUS_NO_CAM);
    EXPECT_EQ(ci->DisableCAM(false), 1);
    m_simulator.Advance(2'000);
    EXPECT_EQ(slotStatus(), CAM_STATUS_READY);
}

TEST_F(InterfacesEndToEnd, OperatorProfile)
{
    ICIOperatorProfile* const ci = TCCIService::CIOperatorProfileInstance();
    const TSTvMode mode(ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR);
    std::map<unsigned char, std::map<EAntennaMode, TWide>> offeredNames;
    EXPECT_EQ(ci->GetNotInstalledOperatorProfiles(offeredNames), 1);
    ASSERT_EQ(offeredNames.size(), 1u);
    EXPECT_EQ(Ascii(offeredNames[0][ANTENNA_MODE_SATELLITE]), "Kelvora Sat");
    std::list<TSCIOperatorProfileData> profiles;
    EXPECT_EQ(ci->GetNotInstalledOperatorProfiles(profiles), 1);
    const TSCIOperatorProfileData expected(
        ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR, 0, offeredNames[0][ANTENNA_MODE_SATELLITE],
        {ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE}, OP_PROFILE_TYPE_PROFILED_TYPE_1);
    EXPECT_EQ(profiles, std::list<TSCIOperatorProfileData>{expected});
    EXPECT_EQ(ci->GetInstalledOperatorProfiles(profiles), 1);
    EXPECT_TRUE(profiles.empty());

    EOperatorProfileStartInstallationStatus status = OP_START_INSTALLATION_REFUSED;
    EXPECT_EQ(ci->StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_PNP, 1, status), 1);
    EXPECT_EQ(status, OP_START_INSTALLATION_NO_CAM);
    EXPECT_EQ(ci->StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_PNP, 0, status), 1);
    EXPECT_EQ(status, OP_START_INSTALLATION_STARTED);
    EXPECT_EQ(ci->StartOperatorProfileInstallation(PROFILE_MAIN, OP_INSTALLATION_ACTIVATED_CI_APP, 0, mode), 0)
        << "one is running";
    EOperatorProfileInstallationOrigin origin = OP_INSTALLATION_INACTIVE;
    EXPECT_EQ(ci->GetOperatorProfileInstallationState(0, origin), 1);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_PNP);
    EXPECT_EQ(ci->SetOperatorProfileInstallationState(0, OP_INSTALLATION_INACTIVE, false), 1);
    EXPECT_EQ(ci->StartOperatorProfileInstallation(PROFILE_MAIN, OP_INSTALLATION_ACTIVATED_CI_APP, 0, mode), 1);
    m_simulator.Advance(3'000);
    EXPECT_EQ(ci->SetOperatorProfileInstallationState(0, OP_INSTALLATION_ACTIVATED_AUTO_TUNE, true), 1);
    EXPECT_EQ(ci->GetOperatorProfileInstallationState(0, origin), 1);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    origin = OP_INSTALLATION_INACTIVE;
    EXPECT_EQ(ci->GetOperatorProfileInstallationOrigin(0, origin), 1);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    EXPECT_EQ(ci->GetOperatorProfileInstallationOrigin(5, origin), 0);

    EXPECT_EQ(ci->GetInstalledOperatorProfiles(profiles), 1);
    EXPECT_EQ(profiles, std::list<TSCIOperatorProfileData>{expected});
    std::map<TSTvMode, TWide> names;
    EXPECT_EQ(ci->GetInstalledOperatorProfiles(names), 1);
    EXPECT_EQ(names, (decltype(names){{mode, expected.profileName}}));
    EXPECT_EQ(ci->GetInstalledOperatorProfileModesPerServiceMode(SERVICE_MODE_GENERIC, names), 1);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(ci->GetInstalledOperatorProfileModesPerServiceMode(SERVICE_MODE_OPERATOR, names), 1);
    EXPECT_EQ(names.size(), 1u);
    std::map<TSTvMode, unsigned char> slots{{TSTvMode(), 9}};
    EXPECT_EQ(ci->GetInstalledOperatorProfileModesCiSlots(slots), 1);
    EXPECT_EQ(slots, (decltype(slots){{mode, 0}}));
    TWide label;
    EXPECT_EQ(ci->GetOperatorProfileContentLabel(mode, 0, 2, label), 1);
    EXPECT_EQ(Ascii(label), "Children");
    EXPECT_EQ(ci->GetOperatorProfileContentLabel(mode, 0, 3, label), 0);
    EXPECT_EQ(Ascii(label), "Children");

    EXPECT_EQ(ci->UpdateOperatorProfile(0), 1);
    EXPECT_EQ(ci->UpdateOperatorProfile(0), 0);
    EXPECT_EQ(ci->RemoveOperatorProfile(TSTvMode(), false), 0);
    EXPECT_EQ(ci->RemoveOperatorProfile(mode, true), 1);
    EXPECT_EQ(ci->GetInstalledOperatorProfiles(names), 1);
    EXPECT_TRUE(names.empty());
}

TEST_F(InterfacesEndToEnd, SampleDecryption)
{
    ICISampleDecryption* const ci = TCCIService::CISampleDecryptionInstance();
    const TSDRMUuid uuid(Hex("101112131415161718191a1b1c1d1e1f"));
    EXPECT_TRUE(ci->IsDRMSupported(TSDRMSystemId(0x0B00)));
    EXPECT_FALSE(ci->IsDRMSupported(TSDRMSystemId(0x0B01)));
    EXPECT_TRUE(ci->IsDRMSupported(uuid));
    EXPECT_FALSE(ci->IsDRMSupported(TSDRMUuid()));
    const std::vector<TSDRMMetadataRecord> records{{CENC_PSSH_BOX, TSDRMSystemId(), uuid, Bytes("pssh")}};
    const std::vector<TSSampleTrackNonTSFormat> tracks{{0x100, {}}, {0x101, records}};
    EXPECT_FALSE(ci->StartSampleDecryption(m_pipeline, std::vector<TSSampleTrackNonTSFormat>()));
    EXPECT_TRUE(ci->StartSampleDecryption(m_pipeline, tracks));
    EXPECT_FALSE(ci->StartSampleDecryption(m_pipeline, tracks)) << "it is running";
    EXPECT_TRUE(ci->UpdateSampleDecryption(m_pipeline, tracks));
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("updates":1)"));
    EXPECT_TRUE(ci->UpdateSampleDecryption(m_pipeline, std::vector<TSDRMMetadataRecord>())) << "ends it";
    EXPECT_FALSE(ci->UpdateSampleDecryption(m_pipeline, records));
    const std::vector<TSDRMMetadataRecord> unknown{{UNDEFINED, TSDRMSystemId(1), TSDRMUuid(), {}}};
    EXPECT_FALSE(ci->StartSampleDecryption(m_pipeline, 2, unknown));
    EXPECT_TRUE(ci->StartSampleDecryption(m_pipeline, 0x0B00, unknown)) << "the system is named by the extra argument";
}

TEST_F(InterfacesEndToEnd, PvrCip)
{
    IPvrCip* const ci = TCCIService::PvrCipInstance();
    const std::string kept = "/pvr/ninety-minutes.ts";
    const std::string twice = "/pvr/play-twice.ts";
    constexpr std::uint64_t MINUTE = 60'000;
    EXPECT_EQ(ci->SetRecordingEsPids(m_pipeline, {0x100, 0x1FFF}, true), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("profile":0,"handle":1,"pids":[256,8191])"));
    EXPECT_EQ(ci->SetRecordingEsPids(m_pipeline, {}, false), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("recordingPids":[])"));
    bool flag = true;
    EXPECT_EQ(ci->IsThisStreamCopyProtected(m_pipeline, flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_EQ(TCCIService::CIGeneralInstance()->SendCaPmt(0, m_pipeline, {}, ECAPMTCMD_OKDESCR, false), 1);
    EXPECT_EQ(ci->IsThisStreamCopyProtected(m_pipeline, flag), 1);
    EXPECT_TRUE(flag);

    EInfoType info = INFO_TYPE_NOT_VERIFIED;
    unsigned char value = 0;
    EXPECT_EQ(ci->GetContentInfo("/none", info, value), 0);
    EXPECT_EQ(ci->GetContentInfo(twice, info, value), 1);
    EXPECT_EQ(info, INFO_TYPE_PLAY_COUNT);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(ci->IsBlockedByParentalControl("/pvr/rated.ts", flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->IsBlockedByParentalControl(twice, flag), 1);
    EXPECT_FALSE(flag);

    int allowed = 7;
    auto restriction = static_cast<ESpeedRestriction>(3);
    EXPECT_TRUE(ci->IsSkippingForwardAllowed(0, allowed));
    EXPECT_EQ(allowed, -1);
    m_simulator.Control("play-recording", R"({"file": "/pvr/ninety-minutes.ts"})");
    EXPECT_FALSE(ci->IsFastForwardAllowed(0, allowed, restriction));
    EXPECT_EQ(allowed, 0);
    EXPECT_EQ(restriction, SPEED_RESTRICTION_NONE);
    EThumbType thumb = THUMB_TYPE_INVALID;
    EXPECT_EQ(ci->GetCIThumbType(kept, thumb), 1);
    EXPECT_EQ(thumb, THUMB_TYPE_OK);
    EXPECT_EQ(ci->CheckThumbnailValidation(kept, 1'000, flag), 1);
    EXPECT_TRUE(flag);
    std::vector<SContentSection> sections(1);
    EXPECT_EQ(ci->GetExpiredContentSections(kept, sections), 1);
    EXPECT_TRUE(sections.empty());

    m_simulator.Advance(31 * MINUTE); // a section of it is too old now
    EXPECT_EQ(ci->GetExpiredContentSections(kept, sections), 1);
    EXPECT_EQ(sections, (std::vector<SContentSection>{{0, 600'000}}));
    EXPECT_EQ(ci->GetCIThumbType(kept, thumb), 1);
    EXPECT_EQ(thumb, THUMB_TYPE_PARTIAL_RETENTION);
    EXPECT_EQ(ci->CheckThumbnailValidation(kept, 1'000, flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_TRUE(ci->IsSkippingBackwardsAllowed(700'000, allowed));
    EXPECT_EQ(allowed, 100'000);
    EXPECT_TRUE(ci->IsFastRewindAllowed(600'001, allowed, restriction));
    EXPECT_EQ(allowed, 1);
    EXPECT_EQ(ci->IsFileExceededRetentionLimit(kept, flag), 1);
    EXPECT_FALSE(flag);
    m_simulator.Advance(60 * MINUTE);
    EXPECT_EQ(ci->IsFileExceededRetentionLimit(kept, flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(ci->IsFileExceededRetentionLimit("", flag), 0);
}
} // namespace CIM
