#include "endtoend/Simulator.h"

#include <gmock/gmock.h>

// The interfaces beside ICIGeneral, through the facade against the simulator's own set: what no story of tests/scenarios
// calls.

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
    m_simulator.Control("start-app", "");
    EXPECT_EQ(ci->SendRequestStartAck(1, 1), 1);
    EXPECT_EQ(ci->SendAppAbortRequest(1, Bytes("enough")), 1);
    EXPECT_EQ(ci->SendAppAbortRequest(1, Bytes("enough")), 0);
    m_simulator.Advance(30);
    std::vector<unsigned char> answer;
    EXPECT_EQ(ci->GetAbortAckData(2, answer), 1);
    EXPECT_EQ(String(answer), "enough");
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
    std::map<unsigned char, std::map<EAntennaMode, TWide>> offered;
    EXPECT_EQ(ci->GetNotInstalledOperatorProfiles(offered), 1);
    ASSERT_EQ(offered.size(), 1u);
    EXPECT_EQ(Ascii(offered[0][ANTENNA_MODE_SATELLITE]), "Kelvora Sat");
    EXPECT_EQ(ci->StartOperatorProfileInstallation(PROFILE_MAIN, OP_INSTALLATION_ACTIVATED_CI_APP, 0, mode), 1);
    m_simulator.Advance(3'000);
    EOperatorProfileInstallationOrigin origin = OP_INSTALLATION_INACTIVE;
    EXPECT_EQ(ci->SetOperatorProfileInstallationState(0, OP_INSTALLATION_ACTIVATED_AUTO_TUNE, true), 1);
    EXPECT_EQ(ci->GetOperatorProfileInstallationState(0, origin), 1);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    EXPECT_EQ(ci->GetOperatorProfileInstallationOrigin(0, origin), 1);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    EXPECT_EQ(ci->GetOperatorProfileInstallationOrigin(5, origin), 0);

    std::list<TSCIOperatorProfileData> profiles;
    EXPECT_EQ(ci->GetInstalledOperatorProfiles(profiles), 1);
    EXPECT_EQ(profiles, (std::list<TSCIOperatorProfileData>{{ANTENNA_MODE_SATELLITE,
                                                             SERVICE_MODE_OPERATOR,
                                                             0,
                                                             offered[0][ANTENNA_MODE_SATELLITE],
                                                             {ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE},
                                                             OP_PROFILE_TYPE_PROFILED_TYPE_1}}));
    std::map<TSTvMode, TWide> names;
    EXPECT_EQ(ci->GetInstalledOperatorProfileModesPerServiceMode(SERVICE_MODE_OPERATOR, names), 1);
    EXPECT_EQ(names, (decltype(names){{mode, offered[0][ANTENNA_MODE_SATELLITE]}}));
    std::map<TSTvMode, unsigned char> slots{{TSTvMode(), 9}};
    EXPECT_EQ(ci->GetInstalledOperatorProfileModesCiSlots(slots), 1);
    EXPECT_EQ(slots, (decltype(slots){{mode, 0}}));
}

TEST_F(InterfacesEndToEnd, PvrCip)
{
    IPvrCip* const ci = TCCIService::PvrCipInstance();
    EXPECT_EQ(ci->SetRecordingEsPids(m_pipeline, {0x100, 0x1FFF}, true), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("profile":0,"handle":1,"pids":[256,8191])"));
    bool flag = true;
    EXPECT_EQ(ci->IsThisStreamCopyProtected(m_pipeline, flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_EQ(TCCIService::CIGeneralInstance()->SendCaPmt(0, m_pipeline, {}, ECAPMTCMD_OKDESCR, false), 1);
    EXPECT_EQ(ci->IsThisStreamCopyProtected(m_pipeline, flag), 1);
    EXPECT_TRUE(flag);
    EInfoType info = INFO_TYPE_NOT_VERIFIED;
    unsigned char value = 0;
    EXPECT_EQ(ci->GetContentInfo("/pvr/play-twice.ts", info, value), 1);
    EXPECT_EQ(info, INFO_TYPE_PLAY_COUNT);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(ci->IsBlockedByParentalControl("/pvr/rated.ts", flag), 1);
    EXPECT_TRUE(flag);

    int allowed = 7;
    auto restriction = static_cast<ESpeedRestriction>(3);
    EXPECT_TRUE(ci->IsSkippingForwardAllowed(0, allowed));
    EXPECT_EQ(allowed, -1);
    m_simulator.Control("play-recording", R"({"file": "/pvr/ninety-minutes.ts"})");
    EXPECT_FALSE(ci->IsFastForwardAllowed(0, allowed, restriction));
    EXPECT_EQ(allowed, 0);
    EXPECT_EQ(restriction, SPEED_RESTRICTION_NONE);
    m_simulator.Advance(31 * 60'000); // a section of it is too old now
    EXPECT_EQ(ci->CheckThumbnailValidation("/pvr/ninety-minutes.ts", 1'000, flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_TRUE(ci->IsFastRewindAllowed(600'001, allowed, restriction));
    EXPECT_EQ(allowed, 1);
}
} // namespace CIM
