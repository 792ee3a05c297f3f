#pragma once

#include "no_ci/Sample.h"

#include <functional>
#include <vector>

// What every operation answers on a set without CI: the same as on a set whose daemon is gone, but for IsCiSupported,
// which the library then answers with 1, and for RequestFile, which then waits for the daemon.

namespace CIM
{
struct SAnswer
{
    const char* operation;
    std::function<std::string()> answer; // calls it
    const char* expected;                // its result, and which arguments it writes
};

#define ROW(NAME, EXPECTED)                                                                                            \
    {                                                                                                                  \
#NAME, [ci] { return Answer(ci, &std::remove_pointer_t<decltype(ci)>::NAME); }, EXPECTED                       \
    }
#define OVERLOAD(RESULT, NAME, EXPECTED, ...)                                                                          \
    {                                                                                                                  \
#NAME "(" #__VA_ARGS__ ")",                                                                                    \
            [ci] {                                                                                                     \
                return Answer(ci, static_cast <RESULT (std::remove_pointer_t <decltype(ci)>::*)(__VA_ARGS__)>(         \
                                      &std::remove_pointer_t <decltype(ci)>::NAME));                                   \
            },                                                                                                         \
            EXPECTED       \
    }

inline std::vector<SAnswer> Answers(ICIGeneral* ci)
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

inline std::vector<SAnswer> Answers(ICIAppMMI* ci)
{
    return {
        ROW(SetApplicationState, "0"), ROW(SendAppAbortRequest, "0"), ROW(SendAppAbortAck, "0"),
        ROW(SendFileRequest, "0"),     ROW(SendRequestStartAck, "0"), ROW(GetAbortAckData, "0"),
        ROW(GetAbortRequestData, "0"), ROW(GetFileAckData, "0"),      ROW(GetStartAppData, "0"),
    };
}

inline std::vector<SAnswer> Answers(ICIAuxiliaryFileSystem* ci)
{
    return {
        ROW(GetAllAvailableFileSystems, "0"), ROW(RegisterApplication, "0"),
        ROW(UnregisterApplication, "0"),      ROW(RequestFile, "0"),
        ROW(GetFileAcknowledge, "0"),
    };
}

inline std::vector<SAnswer> Answers(ICICAMPlayer* ci)
{
    return {
        ROW(VerifyLocation, "invalid"),  ROW(PlayRequest, "invalid"), ROW(SetPlayerSpeed, "false"),
        ROW(SetPlayerPosition, "false"), ROW(StopPlayer, "false"),    ROW(MonitorPlayerInfo, "false"),
    };
}

inline std::vector<SAnswer> Answers(ICIDebug* ci)
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

inline std::vector<SAnswer> Answers(ICIOperatorProfile* ci)
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

inline std::vector<SAnswer> Answers(ICISampleDecryption* ci)
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

inline std::vector<SAnswer> Answers(ICISignalSubscriber* ci)
{
    return {
        ROW(Subscribe, "0"),
        ROW(Unsubscribe, "0"),
        ROW(SetCallback, "nothing"),
    };
}

inline std::vector<SAnswer> Answers(IPvrCip* ci)
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

#undef ROW
#undef OVERLOAD
} // namespace CIM
