#include "endtoend/Simulator.h"

#include <gmock/gmock.h>

// ICIGeneral through the facade against the simulator's own set: two slots, a CI Plus CAM in the first. Menus, upgrades
// and SAS messages are told in the stories of tests/scenarios.

namespace CIM
{
namespace
{
using testing::HasSubstr;

class GeneralEndToEnd : public testing::Test
{
protected:
    GeneralEndToEnd() { m_simulator.Advance(2'000); } // until the CAM is ready

    std::string Enquiry()
    {
        bool isBlind = false;
        unsigned char length = 0;
        TCIText text;
        return m_ci->GetMmiEnquiry(0, isBlind, length, text) == 1
                   ? text.ToUtf8() + (isBlind ? " blind " : " ") + std::to_string(length)
                   : "";
    }

    TCSimulator m_simulator;
    ICIGeneral* m_ci = TCCIService::CIGeneralInstance();
    const TVSHandle m_pipeline{PROFILE_MAIN, 1};
};
} // namespace

TEST_F(GeneralEndToEnd, SlotsAndStatus)
{
    EXPECT_EQ(m_ci->IsCiSupported(), 1);
    std::map<unsigned char, ECamStatus> statuses;
    EXPECT_EQ(m_ci->GetCiSlotStatus(statuses, 0), 1);
    EXPECT_EQ(statuses, (decltype(statuses){{0, CAM_STATUS_READY}, {1, CAM_STATUS_NO_CAM}}));
    EXPECT_EQ(m_ci->GetCiSlotStatus(statuses, 1u << 1), 1);
    EXPECT_EQ(statuses, (decltype(statuses){{1, CAM_STATUS_NO_CAM}}));
    std::map<unsigned char, ECamMode> modes;
    EXPECT_EQ(m_ci->GetCamModes(modes), 1);
    EXPECT_EQ(modes, (decltype(modes){{0, CAM_MODE_CI_PLUS}}));
    std::map<unsigned char, std::list<unsigned short>> ids;
    EXPECT_EQ(m_ci->GetCaSystemIds(ids), 1);
    EXPECT_EQ(ids, (decltype(ids){{0, {0x0B00, 0x0B01}}}));

    ECIApplicationType type = CI_APPLICATION_TYPE_RESERVED;
    TCIText menu;
    TCIText maker;
    EXPECT_EQ(m_ci->GetApplicationInfo(1, type, menu, maker), 0);
    EXPECT_EQ(m_ci->GetApplicationInfo(0, type, menu, maker), 1);
    EXPECT_EQ(type, CI_APPLICATION_TYPE_CA);
    EXPECT_EQ(menu.ToUtf8() + " by " + maker.ToUtf8(), "Kelvora CAM by Kelvora");

    EXPECT_EQ(m_ci->SendCaPmt(1, m_pipeline, {}, ECAPMTCMD_OKDESCR, false), 0);
    EXPECT_EQ(m_ci->SendCaPmt(0, m_pipeline, {0x0B01}, ECAPMTCMD_OKDESCR, false), 1);
    TCCiStatus status;
    EXPECT_EQ(m_ci->GetCurrentCiStatus(status), 1);
    ASSERT_EQ(status.slots.size(), 2u);
    EXPECT_EQ(status.slots[0].slotFlag, 1);
    EXPECT_EQ(status.slots[0].slotValue, 0x0B000001);
    EXPECT_EQ(status.slots[0].handles, std::vector<TVSHandle>{m_pipeline});
    EXPECT_EQ(status.slots[0].codes, (std::vector<unsigned short>{0x0B00, 0x0B01}));
    EXPECT_EQ(status.slots[1], TCSlotInfo());
    EXPECT_EQ(m_ci->DisableDescrambling({m_pipeline, {PROFILE_SUB, 2}}), 1);
    EXPECT_EQ(m_ci->EnableDescrambling({{PROFILE_SUB, 2}}), 1);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("descramblingDisabled":[{"profile":0,"handle":1}])"));

    EXPECT_EQ(m_ci->CiSlotTest(0), 1);
    EXPECT_EQ(m_ci->CiSlotTest(7), 0);
    EXPECT_EQ(m_ci->HdsDisplayStatusChanged(0, true, true), 1);
    EXPECT_EQ(m_ci->HdsDisplayStatusChanged(1, true, false), 0);
    EXPECT_THAT(m_simulator.State(), HasSubstr(R"("displayStatus":{"0":true})"));
}

TEST_F(GeneralEndToEnd, Certificates)
{
    bool any = false;
    bool standard = false;
    bool ecp = false;
    EXPECT_EQ(m_ci->CipTest(any) + m_ci->CipTestStandard(standard) + m_ci->CipTestECP(ecp), 3);
    EXPECT_TRUE(any && standard && ecp);
    EWriteCipKeyResult result = WRITE_CIP_NA;
    EXPECT_EQ(m_ci->WriteCipKey(CIP_CERTIFICATE_TYPE_INVALID, CIP_CERTIFICATE_KIND_ECP, result), 1);
    EXPECT_EQ(result, WRITE_CIP_FAIL);
    EXPECT_EQ(m_ci->WriteCipKey(CIP_CERTIFICATE_TYPE_TEST, CIP_CERTIFICATE_KIND_STANDARD, result), 1);
    EXPECT_EQ(result, WRITE_CIP_SUCCESS);
    EXPECT_EQ(m_ci->CipTest(any) + m_ci->CipTestStandard(standard) + m_ci->CipTestECP(ecp), 3);
    EXPECT_TRUE(any && standard && !ecp);
}

TEST_F(GeneralEndToEnd, Pin)
{
    EPinWindowShowHandler handler = PIN_WINDOW_SHOW_HANDLER_UNSPECIFIED;
    EXPECT_EQ(m_ci->GetPinWindowShowHandler(m_pipeline, handler), 1);
    EXPECT_EQ(handler, PIN_WINDOW_SHOW_HANDLER_IS_HOST);
    EXPECT_EQ(m_ci->IsCamPinNeeded(), 0);
    m_simulator.Control("ask-pin", "");
    EXPECT_EQ(m_ci->IsCamPinNeeded(), 1);
    EXPECT_EQ(m_ci->VerifyCamPin(1, Bytes("1234"), false), 0);
    EXPECT_EQ(m_ci->VerifyCamPin(0, Bytes("1234"), true), 1);
    EXPECT_EQ(m_ci->IsCamPinNeeded(), 1);
    m_simulator.Advance(200);
    EXPECT_EQ(m_ci->IsCamPinNeeded(), 0);
    EXPECT_EQ(m_ci->SetCamPin(0, Bytes("4321"), false), 1);
    m_simulator.Advance(200);
    EXPECT_EQ(m_ci->ShowCamPinWindow(m_pipeline), 1);
    EXPECT_EQ(m_ci->AnswerMmiEnquiry(0, MMI_ANSWER_ID_ANSWER, TCIText::FromUtf8("1234"), false, false), 1);
    EXPECT_EQ(Enquiry(), "Enter PIN (2 tries left) blind 4") << "the old PIN is no longer right";
}

TEST_F(GeneralEndToEnd, FlagsHostControlAndBackup)
{
    bool flag = true;
    EXPECT_EQ(m_ci->IsHostControlActive(flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_EQ(m_ci->SendAskRelease(), 0);
    m_simulator.Control("host-control", "");
    EXPECT_EQ(m_ci->IsHostControlActive(flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(m_ci->SendAskRelease(), 1);
    m_simulator.Advance(200);
    EXPECT_EQ(m_ci->IsHostControlActive(flag), 1);
    EXPECT_FALSE(flag);

    EXPECT_EQ(m_ci->GetTuneBlockedByCi(m_pipeline, STATE_CHANGE_SERVICE, 5, flag), 1);
    EXPECT_FALSE(flag);
    m_simulator.Control("block-tuning", "");
    EXPECT_EQ(m_ci->GetTuneBlockedByCi(m_pipeline, STATE_CHANGE_SERVICE, 5, flag), 1);
    EXPECT_TRUE(flag);

    struct TSCase
    {
        const char* name;
        int (ICIGeneral::*question)(bool&);
    };
    for (const TSCase& test : {TSCase{"keep-app-running", &ICIGeneral::GetKeepAppRunning},
                               TSCase{"transcoding-auto", &ICIGeneral::IsCamVideoTranscodingAuto},
                               TSCase{"special-cam", &ICIGeneral::IsAnyNeotionNp4CamInserted}})
    {
        SCOPED_TRACE(test.name);
        flag = true;
        EXPECT_EQ((m_ci->*test.question)(flag), 1);
        EXPECT_FALSE(flag);
        m_simulator.Control("set-flag", (std::string(R"({"flag": ")") + test.name + "\"}").c_str());
        EXPECT_EQ((m_ci->*test.question)(flag), 1);
        EXPECT_TRUE(flag);
    }

    std::list<std::string> paths;
    EXPECT_EQ(m_ci->GetBackupFilePaths(paths), 1);
    EXPECT_EQ(paths, (std::list<std::string>{"/opt/ci/profiles.db", "/opt/ci/keys.db"}));
    EXPECT_EQ(m_ci->BackupFileDone({"/opt/ci/keys.db", "/other"}), 0);
    EXPECT_EQ(m_ci->BackupFileDone({"/opt/ci/keys.db"}), 1);
    EXPECT_EQ(m_ci->GetBackupFilePaths(paths), 1);
    EXPECT_EQ(paths, (std::list<std::string>{"/opt/ci/profiles.db"}));
}

TEST_F(GeneralEndToEnd, Cryptography)
{
    unsigned short session = 0;
    EXPECT_EQ(m_ci->ConnectToSasApplication(1, session), 1);
    m_simulator.Advance(20);
    std::vector<unsigned char> data;
    EXPECT_EQ(m_ci->GetDiffHellMsb(99, data), 0);
    EXPECT_EQ(m_ci->GetDiffHellMsb(session, data), 1);
    EXPECT_EQ(data.size(), 16u);
    // The simulator's keys are those of published test vectors.
    const auto clear = Hex("6bc1bee22e409f96e93d7e117393172a");
    const auto coded = Hex("7649abac8119b246cee98e9b12e9197d");
    EXPECT_EQ(m_ci->EncryptUsingAesCbcWithSAK(session, clear, data), 1);
    EXPECT_EQ(data, coded);
    EXPECT_EQ(m_ci->EncryptUsingAesCbcWithSAK(session, Bytes("no block"), data), 0);
    EXPECT_EQ(m_ci->DecryptUsingAesEcbWithSEK(session, Hex("69c4e0d86a7b0430d8cdb78070b4c55a"), data), 1);
    EXPECT_EQ(data, Hex("00112233445566778899aabbccddeeff"));
    EXPECT_EQ(m_ci->EncryptUsingAesCbcWithSAKConcatDHSK(session, clear, data), 1);
    ASSERT_EQ(data.size(), 16u + 256u);
    EXPECT_TRUE(std::equal(coded.begin(), coded.end(), data.begin()));
    std::vector<unsigned char> digest;
    EXPECT_EQ(m_ci->ComputeSHA256ConcatDHSK(session, {}, digest), 1);
    EXPECT_EQ(digest.size(), 32u);
    EXPECT_EQ(m_ci->ComputeSHA256ConcatDHSK(session, clear, data), 1);
    EXPECT_EQ(data.size(), 32u);
    EXPECT_NE(data, digest);
}
} // namespace CIM
