#pragma once

#include <ciapi-testing/Fake.h>

#include <ciapi/ICIAppMMI.h>
#include <ciapi/ICIAuxiliaryFileSystem.h>
#include <ciapi/ICICAMPlayer.h>
#include <ciapi/ICIDebug.h>
#include <ciapi/ICIGeneral.h>
#include <ciapi/ICIOperatorProfile.h>
#include <ciapi/ICISampleDecryption.h>
#include <ciapi/ICISignalSubscriber.h>
#include <ciapi/IPvrCip.h>

// The nine interfaces without bus and daemon, for applications that take the interfaces that they use as arguments:
//
//   CIM::test::TCFakeGeneral general;
//   general.On(&ICIGeneral::GetMmiText, [](unsigned char, TCIText& text) { text = ...; return 1; });
//   TMenu menu(general);
//
// What On, Reset, CallCount and Calls do, Fake.h says.

namespace CIM::test
{
/// Slots, CAMs, menus, PIN, CA PMT, SAS, host control.
class TCFakeGeneral : public TFake<ICIGeneral>
{
public:
    CIAPI_FAKE(2, GetCiSlotStatus)
    CIAPI_FAKE(0, IsCiSupported)
    CIAPI_FAKE(1, GetCamModes)
    CIAPI_FAKE(1, DisableDescrambling)
    CIAPI_FAKE(1, EnableDescrambling)
    CIAPI_FAKE(1, GetCurrentCiStatus)
    CIAPI_FAKE(1, CipTest)
    CIAPI_FAKE(1, CipTestStandard)
    CIAPI_FAKE(1, CipTestECP)
    CIAPI_FAKE(3, WriteCipKey)
    CIAPI_FAKE(4, GetApplicationInfo)
    CIAPI_FAKE(2, EnterMenu)
    CIAPI_FAKE(3, HdsDisplayStatusChanged)
    CIAPI_FAKE(2, GetMmiText)
    CIAPI_FAKE(4, GetMmiEnquiry)
    CIAPI_FAKE(5, AnswerMmiEnquiry)
    CIAPI_FAKE(5, GetMmiMenu)
    CIAPI_FAKE(4, AnswerMmiMenu)
    CIAPI_FAKE(5, GetMmiList)
    CIAPI_FAKE(3, CloseMmi)
    CIAPI_FAKE(2, GetPinWindowShowHandler)
    CIAPI_FAKE(0, IsCamPinNeeded)
    CIAPI_FAKE(0, SendAskRelease)
    CIAPI_FAKE(1, ShowCamPinWindow)
    CIAPI_FAKE(3, VerifyCamPin)
    CIAPI_FAKE(3, SetCamPin)
    CIAPI_FAKE(3, SendCamUpgradeReply)
    CIAPI_FAKE(5, SendCaPmt)
    CIAPI_FAKE(1, GetCaSystemIds)
    CIAPI_FAKE(2, ConnectToSasApplication)
    CIAPI_FAKE(2, SendSasData)
    CIAPI_FAKE(3, GetSasData)
    CIAPI_FAKE(2, GetDiffHellMsb)
    CIAPI_FAKE(3, EncryptUsingAesCbcWithSAK)
    CIAPI_FAKE(3, DecryptUsingAesEcbWithSEK)
    CIAPI_FAKE(3, EncryptUsingAesCbcWithSAKConcatDHSK)
    CIAPI_FAKE(3, ComputeSHA256ConcatDHSK)
    CIAPI_FAKE(1, CiSlotTest)
    CIAPI_FAKE(4, GetTuneBlockedByCi)
    CIAPI_FAKE(1, IsHostControlActive)
    CIAPI_FAKE(1, GetKeepAppRunning)
    CIAPI_FAKE(1, IsCamVideoTranscodingAuto)
    CIAPI_FAKE(1, IsAnyNeotionNp4CamInserted)
    CIAPI_FAKE(1, GetBackupFilePaths)
    CIAPI_FAKE(1, BackupFileDone)
};

/// CI Plus application MMI.
class TCFakeAppMMI : public TFake<ICIAppMMI>
{
public:
    CIAPI_FAKE(4, SetApplicationState)
    CIAPI_FAKE(2, SendAppAbortRequest)
    CIAPI_FAKE(2, SendAppAbortAck)
    CIAPI_FAKE(3, SendFileRequest)
    CIAPI_FAKE(2, SendRequestStartAck)
    CIAPI_FAKE(2, GetAbortAckData)
    CIAPI_FAKE(2, GetAbortRequestData)
    CIAPI_FAKE(6, GetFileAckData)
    CIAPI_FAKE(6, GetStartAppData)
};

/// Auxiliary file systems of the CAMs.
class TCFakeAuxiliaryFileSystem : public TFake<ICIAuxiliaryFileSystem>
{
public:
    CIAPI_FAKE(1, GetAllAvailableFileSystems)
    CIAPI_FAKE(2, RegisterApplication)
    CIAPI_FAKE(2, UnregisterApplication)
    CIAPI_FAKE(4, RequestFile)
    CIAPI_FAKE(2, GetFileAcknowledge)
};

/// Playback by a CAM.
class TCFakeCICAMPlayer : public TFake<ICICAMPlayer>
{
public:
    CIAPI_FAKE(1, VerifyLocation)
    CIAPI_FAKE(1, PlayRequest)
    CIAPI_FAKE(2, SetPlayerSpeed)
    CIAPI_FAKE(2, SetPlayerPosition)
    CIAPI_FAKE(1, StopPlayer)
    CIAPI_FAKE(2, MonitorPlayerInfo)
};

/// Service and factory commands.
class TCFakeDebug : public TFake<ICIDebug>
{
public:
    CIAPI_FAKE(0, PrintStatus)
    CIAPI_FAKE(0, ClearDescramblingHistory)
    CIAPI_FAKE(1, ResetPcmcia)
    CIAPI_FAKE(0, ResetCertificateDataInEeprom)
    CIAPI_FAKE(0, ResetCertificateDataInSecureStorage)
    CIAPI_FAKE(2, SetTransportStreamRouteMode)
    CIAPI_FAKE(2, GetTransportStreamRouteMode)
    CIAPI_FAKE(0, RestartCIMManager)
    CIAPI_FAKE(0, FactoryReset)
    CIAPI_FAKE(1, DebugTunePreparation)
    CIAPI_FAKE(1, DebugTunePreparationAck)
    CIAPI_FAKE(1, IsTunerLockedByCI)
    CIAPI_FAKE(0, OPClearSchedule)
    CIAPI_FAKE(1, OPRegisterSchedule)
    CIAPI_FAKE(0, OPPrintBootupReason)
    CIAPI_FAKE(0, StartOperatorProfileInstallation)
    CIAPI_FAKE(0, RemoveAllOperatorProfiles)
    CIAPI_FAKE(0, PrintCIServiceProtectionDatabase)
    CIAPI_FAKE(0, ClearCIServiceProtectionDatabase)
    CIAPI_FAKE(1, GetSlotsCount)
    CIAPI_FAKE(4, RunMSPUCommand)
    CIAPI_FAKE(1, DisableCAM)
    CIAPI_FAKE(0, TransferCertifcateDataFromEepromToSecureStorage)
    CIAPI_FAKE(1, CILogToggle)
};

/// CI Plus operator profiles.
class TCFakeOperatorProfile : public TFake<ICIOperatorProfile>
{
public:
    CIAPI_FAKE_OVERLOAD(
        1, GetNotInstalledOperatorProfiles,
        int (Interface::*)(std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>&))
    CIAPI_FAKE_OVERLOAD(1, GetNotInstalledOperatorProfiles, int (Interface::*)(std::list<TSCIOperatorProfileData>&))
    CIAPI_FAKE(2, GetInstalledOperatorProfileModesPerServiceMode)
    CIAPI_FAKE_OVERLOAD(1, GetInstalledOperatorProfiles,
                        int (Interface::*)(std::map<TSTvMode, std::basic_string<unsigned short>>&))
    CIAPI_FAKE(1, GetInstalledOperatorProfileModesCiSlots)
    CIAPI_FAKE_OVERLOAD(1, GetInstalledOperatorProfiles, int (Interface::*)(std::list<TSCIOperatorProfileData>&))
    CIAPI_FAKE_OVERLOAD(4, StartOperatorProfileInstallation,
                        int (Interface::*)(EProfile, int, unsigned char, TSTvMode const&))
    CIAPI_FAKE_OVERLOAD(3, StartOperatorProfileInstallation,
                        int (Interface::*)(EOperatorProfileInstallationOrigin, unsigned char,
                                           EOperatorProfileStartInstallationStatus&))
    CIAPI_FAKE(1, UpdateOperatorProfile)
    CIAPI_FAKE(3, SetOperatorProfileInstallationState)
    CIAPI_FAKE(2, GetOperatorProfileInstallationState)
    CIAPI_FAKE(2, GetOperatorProfileInstallationOrigin)
    CIAPI_FAKE(2, RemoveOperatorProfile)
    CIAPI_FAKE(4, GetOperatorProfileContentLabel)
};

/// Decryption of samples outside a transport stream.
class TCFakeSampleDecryption : public TFake<ICISampleDecryption>
{
public:
    CIAPI_FAKE_OVERLOAD(1, IsDRMSupported, bool (Interface::*)(TSDRMSystemId const&))
    CIAPI_FAKE_OVERLOAD(1, IsDRMSupported, bool (Interface::*)(TSDRMUuid const&))
    CIAPI_FAKE_OVERLOAD(2, StartSampleDecryption,
                        bool (Interface::*)(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&))
    CIAPI_FAKE_OVERLOAD(3, StartSampleDecryption,
                        bool (Interface::*)(TVSHandle const&, unsigned short, std::vector<TSDRMMetadataRecord> const&))
    CIAPI_FAKE_OVERLOAD(2, UpdateSampleDecryption,
                        bool (Interface::*)(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&))
    CIAPI_FAKE_OVERLOAD(2, UpdateSampleDecryption,
                        bool (Interface::*)(TVSHandle const&, std::vector<TSDRMMetadataRecord> const&))
};

/// Copy control of recordings.
class TCFakePvrCip : public TFake<IPvrCip>
{
public:
    CIAPI_FAKE(3, SetRecordingEsPids)
    CIAPI_FAKE(2, IsFileExceededRetentionLimit)
    CIAPI_FAKE(2, GetCIThumbType)
    CIAPI_FAKE(3, GetContentInfo)
    CIAPI_FAKE(2, GetExpiredContentSections)
    CIAPI_FAKE(2, IsBlockedByParentalControl)
    CIAPI_FAKE(3, CheckThumbnailValidation)
    CIAPI_FAKE(2, IsThisStreamCopyProtected)
    CIAPI_FAKE(2, IsSkippingForwardAllowed)
    CIAPI_FAKE(2, IsSkippingBackwardsAllowed)
    CIAPI_FAKE(3, IsFastForwardAllowed)
    CIAPI_FAKE(3, IsFastRewindAllowed)
};

/// Signals, raised by the test. Unlike the other fakes it works by itself: it keeps the callback and the subscriptions,
/// as long as the test does not put answers of its own in the place of these three.
class TCFakeSignalSubscriber : public TFake<ICISignalSubscriber>
{
public:
    TCFakeSignalSubscriber()
    {
        On(&Interface::Subscribe,
           [this](ECISignalType type, void* userData, EProfile profile, unsigned short handle, long)
           {
               const std::lock_guard lock(m_guard);
               return static_cast<int>(m_subscriptions.emplace(TKey(type, profile, handle), userData).second);
           });
        On(&Interface::Unsubscribe,
           [this](ECISignalType type, EProfile profile, unsigned short handle, long)
           {
               const std::lock_guard lock(m_guard);
               return static_cast<int>(m_subscriptions.erase(TKey(type, profile, handle)));
           });
        On(&Interface::SetCallback,
           [this](TCISignalCallback callback)
           {
               const std::lock_guard lock(m_guard);
               m_callback = m_callback != nullptr ? m_callback : callback;
           });
    }

    CIAPI_FAKE(5, Subscribe)
    CIAPI_FAKE(4, Unsubscribe)
    CIAPI_FAKE(1, SetCallback)

    /// Calls the callback, on this thread, if the signal is subscribed.
    /// \return whether it was called
    bool Raise(ECISignalType type, EProfile profile, unsigned short handle, const TSSignalData& data = {})
    {
        TCISignalCallback callback = nullptr;
        void* userData = nullptr;
        {
            const std::lock_guard lock(m_guard);
            const auto subscription = m_subscriptions.find(TKey(type, profile, handle));
            if (m_callback == nullptr || subscription == m_subscriptions.end())
            {
                return false;
            }
            callback = m_callback;
            userData = subscription->second;
        }
        callback(type, profile, handle, data, userData);
        return true;
    }

private:
    using TKey = std::tuple<ECISignalType, EProfile, unsigned short>;

    std::mutex m_guard;
    std::map<TKey, void*> m_subscriptions;
    TCISignalCallback m_callback = nullptr;
};
} // namespace CIM::test
