#include "no_ci/Sample.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <iostream>
#include <vector>

// A set without CI, as an application sees it: public headers and the shared library, nothing else.

namespace CIM
{
namespace
{
struct SAnswer
{
    const char* operation;
    std::string answer;
    const char* expected; // its result, and which arguments it writes
};

#define ROW(NAME, EXPECTED)                                                                                            \
    {                                                                                                                  \
#NAME, Answer(ci, &std::remove_pointer_t <decltype(ci)>::NAME), EXPECTED                                       \
    }
#define OVERLOAD(RESULT, NAME, EXPECTED, ...)                                                                          \
    {                                                                                                                  \
#NAME "(" #__VA_ARGS__ ")",                                                                                    \
            Answer(ci, static_cast <RESULT (std::remove_pointer_t <decltype(ci)>::*)(__VA_ARGS__)>(                    \
                           &std::remove_pointer_t <decltype(ci)>::NAME)),                                              \
            EXPECTED                                                                                                   \
    }

std::vector<SAnswer> Answers(ICIGeneral* ci)
{
    return {
        ROW(GetCiSlotStatus, "0"),
        ROW(IsCiSupported, "0"),
        ROW(GetCamModes, "0"),
        ROW(DisableDescrambling, "0"),
        ROW(EnableDescrambling, "0"),
        ROW(GetCurrentCiStatus, "0"),
        ROW(CipTest, "0"),
        ROW(CipTestStandard, "0"),
        ROW(CipTestECP, "0"),
        ROW(WriteCipKey, "0"),
        ROW(GetApplicationInfo, "0"),
        ROW(EnterMenu, "0"),
        ROW(HdsDisplayStatusChanged, "0"),
        ROW(GetMmiText, "0"),
        ROW(GetMmiEnquiry, "0"),
        ROW(AnswerMmiEnquiry, "0"),
        ROW(GetMmiMenu, "0"),
        ROW(AnswerMmiMenu, "0"),
        ROW(GetMmiList, "0"),
        ROW(CloseMmi, "0"),
        ROW(GetPinWindowShowHandler, "0"),
        ROW(IsCamPinNeeded, "0"),
        ROW(SendAskRelease, "0"),
        ROW(ShowCamPinWindow, "0"),
        ROW(VerifyCamPin, "0"),
        ROW(SetCamPin, "0"),
        ROW(SendCamUpgradeReply, "0"),
        ROW(SendCaPmt, "0"),
        ROW(GetCaSystemIds, "0"),
        ROW(ConnectToSasApplication, "0"),
        ROW(SendSasData, "0"),
        ROW(GetSasData, "0"),
        ROW(GetDiffHellMsb, "0"),
        ROW(EncryptUsingAesCbcWithSAK, "0"),
        ROW(DecryptUsingAesEcbWithSEK, "0"),
        ROW(EncryptUsingAesCbcWithSAKConcatDHSK, "0"),
        ROW(ComputeSHA256ConcatDHSK, "0"),
        ROW(CiSlotTest, "0"),
        ROW(GetTuneBlockedByCi, "1 4=false"),
        ROW(IsHostControlActive, "1 1=false"),
        ROW(GetKeepAppRunning, "1 1=false"),
        ROW(IsCamVideoTranscodingAuto, "0"),
        ROW(IsAnyNeotionNp4CamInserted, "1 1=false"),
        ROW(GetBackupFilePaths, "0"),
        ROW(BackupFileDone, "0"),
    };
}

std::vector<SAnswer> Answers(ICIAppMMI* ci)
{
    return {
        ROW(SetApplicationState, "0"), ROW(SendAppAbortRequest, "0"), ROW(SendAppAbortAck, "0"),
        ROW(SendFileRequest, "0"),     ROW(SendRequestStartAck, "0"), ROW(GetAbortAckData, "0"),
        ROW(GetAbortRequestData, "0"), ROW(GetFileAckData, "0"),      ROW(GetStartAppData, "0"),
    };
}

std::vector<SAnswer> Answers(ICIAuxiliaryFileSystem* ci)
{
    return {
        ROW(GetAllAvailableFileSystems, "0"), ROW(RegisterApplication, "0"),
        ROW(UnregisterApplication, "0"),      ROW(RequestFile, "0"),
        ROW(GetFileAcknowledge, "0"),
    };
}

std::vector<SAnswer> Answers(ICICAMPlayer* ci)
{
    return {
        ROW(VerifyLocation, "invalid"),  ROW(PlayRequest, "invalid"), ROW(SetPlayerSpeed, "false"),
        ROW(SetPlayerPosition, "false"), ROW(StopPlayer, "false"),    ROW(MonitorPlayerInfo, "false"),
    };
}

std::vector<SAnswer> Answers(ICIDebug* ci)
{
    return {
        ROW(PrintStatus, "0"),
        ROW(ClearDescramblingHistory, "0"),
        ROW(ResetPcmcia, "0"),
        ROW(ResetCertificateDataInEeprom, "0"),
        ROW(ResetCertificateDataInSecureStorage, "0"),
        ROW(SetTransportStreamRouteMode, "0"),
        ROW(GetTransportStreamRouteMode, "0"),
        ROW(RestartCIMManager, "0"),
        ROW(FactoryReset, "0"),
        ROW(DebugTunePreparation, "0"),
        ROW(DebugTunePreparationAck, "0"),
        ROW(IsTunerLockedByCI, "0"),
        ROW(OPClearSchedule, "0"),
        ROW(OPRegisterSchedule, "0"),
        ROW(OPPrintBootupReason, "0"),
        ROW(StartOperatorProfileInstallation, "0"),
        ROW(RemoveAllOperatorProfiles, "0"),
        ROW(PrintCIServiceProtectionDatabase, "0"),
        ROW(ClearCIServiceProtectionDatabase, "0"),
        ROW(GetSlotsCount, "0"),
        ROW(RunMSPUCommand, "0"),
        ROW(DisableCAM, "0"),
        ROW(TransferCertifcateDataFromEepromToSecureStorage, "0"),
        ROW(CILogToggle, "0 1=false"),
    };
}

std::vector<SAnswer> Answers(ICIOperatorProfile* ci)
{
    return {
        OVERLOAD(int, GetNotInstalledOperatorProfiles, "0",
                 std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>&),
        OVERLOAD(int, GetNotInstalledOperatorProfiles, "0", std::list<TSCIOperatorProfileData>&),
        ROW(GetInstalledOperatorProfileModesPerServiceMode, "0"),
        OVERLOAD(int, GetInstalledOperatorProfiles, "0", std::map<TSTvMode, std::basic_string<unsigned short>>&),
        ROW(GetInstalledOperatorProfileModesCiSlots, "0"),
        OVERLOAD(int, GetInstalledOperatorProfiles, "0", std::list<TSCIOperatorProfileData>&),
        OVERLOAD(int, StartOperatorProfileInstallation, "0", EProfile, int, unsigned char, TSTvMode const&),
        OVERLOAD(int, StartOperatorProfileInstallation, "0", EOperatorProfileInstallationOrigin, unsigned char,
                 EOperatorProfileStartInstallationStatus&),
        ROW(UpdateOperatorProfile, "0"),
        ROW(SetOperatorProfileInstallationState, "0"),
        ROW(GetOperatorProfileInstallationState, "0"),
        ROW(GetOperatorProfileInstallationOrigin, "0"),
        ROW(RemoveOperatorProfile, "0"),
        ROW(GetOperatorProfileContentLabel, "0"),
    };
}

std::vector<SAnswer> Answers(ICISampleDecryption* ci)
{
    return {
        OVERLOAD(bool, IsDRMSupported, "false", TSDRMSystemId const&),
        OVERLOAD(bool, IsDRMSupported, "false", TSDRMUuid const&),
        OVERLOAD(bool, StartSampleDecryption, "false", TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&),
        OVERLOAD(bool, StartSampleDecryption, "false", TVSHandle const&, unsigned short,
                 std::vector<TSDRMMetadataRecord> const&),
        OVERLOAD(bool, UpdateSampleDecryption, "false", TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&),
        OVERLOAD(bool, UpdateSampleDecryption, "false", TVSHandle const&, std::vector<TSDRMMetadataRecord> const&),
    };
}

std::vector<SAnswer> Answers(ICISignalSubscriber* ci)
{
    return {
        ROW(Subscribe, "0"),
        ROW(Unsubscribe, "0"),
        ROW(SetCallback, "nothing"),
    };
}

std::vector<SAnswer> Answers(IPvrCip* ci)
{
    return {
        ROW(SetRecordingEsPids, "0"),
        ROW(IsFileExceededRetentionLimit, "0"),
        ROW(GetCIThumbType, "0"),
        ROW(GetContentInfo, "0"),
        ROW(GetExpiredContentSections, "0"),
        ROW(IsBlockedByParentalControl, "0"),
        ROW(CheckThumbnailValidation, "0"),
        ROW(IsThisStreamCopyProtected, "0"),
        ROW(IsSkippingForwardAllowed, "true 2=-1"),
        ROW(IsSkippingBackwardsAllowed, "true 2=-1"),
        ROW(IsFastForwardAllowed, "true 2=-1 3=7"),
        ROW(IsFastRewindAllowed, "true 2=-1 3=7"),
    };
}

std::size_t ExpectAnswers(const std::vector<SAnswer>& answers)
{
    for (const SAnswer& row : answers)
    {
        std::cout << row.operation << ": " << row.answer << '\n';
        EXPECT_EQ(row.answer, row.expected) << row.operation;
    }
    return answers.size();
}

int OnSignal(ECISignalType, EProfile, unsigned short, TSSignalData, void*)
{
    ADD_FAILURE() << "a set without CI has no signals";
    return 0;
}

// One test: a process has only one facade, and only one life of it.
TEST(NoCi, EveryOperationAnswersAtOnceAndTheLivesOfTheInstancesAreLogged)
{
    const TFeatureKeys keys{{"com.kelvora/featureconf/product.num_of_ci", "0"}};
    EXPECT_FALSE(TCCIService::IsCIOperable());
    TLogCapture::Clear();
    std::size_t operations = 0;
    operations += ExpectAnswers(Answers(TCCIService::CIGeneralInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIAppMMIInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIAuxiliaryFileSystemInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CICAMPlayerInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIDebugInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIOperatorProfileInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CISampleDecryptionInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CISignalSubscriberInstance(&OnSignal)));
    operations += ExpectAnswers(Answers(TCCIService::PvrCipInstance()));
    EXPECT_EQ(operations, 124u);
    TCCIService::Destroy();
    EXPECT_EQ(TCCIService::CIGeneralInstance(), nullptr);

    std::vector<std::string> lines;
    for (const SLogLine& line : TLogCapture::Lines())
    {
        if (line.buffer == 0)
        {
            EXPECT_EQ(line.priority, 4);
            EXPECT_EQ(line.tag, "CI_API");
            EXPECT_THAT(line.text, testing::EndsWith("] ")) << "nothing behind the prefix";
            lines.push_back(line.text.substr(0, line.text.find(" > ")));
        }
    }
    EXPECT_THAT(
        lines,
        testing::ElementsAre(
            "CIGeneralProxyNO_CI.cpp: TCCIGeneralProxyNO_CI(30)", "CIAppMMIProxyNO_CI.cpp: TCCIAppMMIProxyNO_CI(35)",
            "CIAuxiliaryFileSystemProxyNO_CI.cpp: TCCIAuxiliaryFileSystemProxyNO_CI(35)",
            "CICAMPlayerProxyNO_CI.cpp: TCCICAMPlayerProxyNO_CI(34)", "CIDebugProxyNO_CI.cpp: TCCIDebugProxyNO_CI(34)",
            "CIOperatorProfileProxyNO_CI.cpp: TCCIOperatorProfileProxyNO_CI(35)",
            "CISampleDecryptionProxyNO_CI.cpp: TCCISampleDecryptionProxyNO_CI(34)",
            "CISignalSubscriberProxyNO_CI.cpp: TCCISignalSubscriberProxyNO_CI(34)",
            "CISignalSubscriberProxyNO_CI.cpp: SetCallback(62)", "CISignalSubscriberProxyNO_CI.cpp: SetCallback(62)",
            "PvrCipProxyNO_CI.cpp: TCPvrCipProxyNO_CI(30)", "CIGeneralProxyNO_CI.cpp: ~TCCIGeneralProxyNO_CI(37)",
            "CIAppMMIProxyNO_CI.cpp: ~TCCIAppMMIProxyNO_CI(42)",
            "CIOperatorProfileProxyNO_CI.cpp: ~TCCIOperatorProfileProxyNO_CI(42)",
            "PvrCipProxyNO_CI.cpp: ~TCPvrCipProxyNO_CI(37)", "CIDebugProxyNO_CI.cpp: ~TCCIDebugProxyNO_CI(41)",
            "CIAuxiliaryFileSystemProxyNO_CI.cpp: ~TCCIAuxiliaryFileSystemProxyNO_CI(42)",
            "CISignalSubscriberProxyNO_CI.cpp: ~TCCISignalSubscriberProxyNO_CI(41)",
            "CICAMPlayerProxyNO_CI.cpp: ~TCCICAMPlayerProxyNO_CI(41)",
            "CISampleDecryptionProxyNO_CI.cpp: ~TCCISampleDecryptionProxyNO_CI(41)"));
}
} // namespace
} // namespace CIM
