#include "golden/Golden.h"
#include "protocol/AppMMI.h"
#include "protocol/AuxiliaryFileSystem.h"
#include "protocol/CICAMPlayer.h"
#include "protocol/Debug.h"
#include "protocol/General.h"
#include "protocol/OperatorProfile.h"
#include "protocol/PvrCip.h"
#include "protocol/SampleDecryption.h"
#include "protocol/SignalSubscriber.h"
#include "proxy/CIAppMMIProxy.h"
#include "proxy/CIAuxiliaryFileSystemProxy.h"
#include "proxy/CICAMPlayerProxy.h"
#include "proxy/CIDebugProxy.h"
#include "proxy/CIGeneralProxy.h"
#include "proxy/CIOperatorProfileProxy.h"
#include "proxy/CISampleDecryptionProxy.h"
#include "proxy/CISignalSubscriberProxy.h"
#include "proxy/PvrCipProxy.h"
#include "support/Values.h"

// The same calls as in operations.txt, as an application writes them. The bytes come from golden.txt, or for a
// big-endian machine from the same encoder.

namespace CIM
{
// Values that the library itself never compares.
static bool operator==(const TSPlaybackSpeed& a, const TSPlaybackSpeed& b) { return a.hundredths == b.hundredths; }
static bool operator==(const TSPlaybackPosition& a, const TSPlaybackPosition& b)
{
    return a.seekMode == b.seekMode && a.position == b.position;
}
static bool operator==(const TCCiAuxiliaryFileSystemDTO& a, const TCCiAuxiliaryFileSystemDTO& b)
{
    return a.shortValue == b.shortValue && a.intValue == b.intValue && a.domainId == b.domainId;
}
static bool operator==(const TCCiFileAckDTO& a, const TCCiFileAckDTO& b)
{
    return a.firstFlag == b.firstFlag && a.secondFlag == b.secondFlag && a.requestType == b.requestType &&
           a.firstData == b.firstData && a.secondData == b.secondData;
}

std::string ToHex(const std::string& bytes)
{
    std::string hex;
    for (const unsigned char byte : bytes)
    {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string FromHex(const std::string& hex)
{
    std::string bytes;
    for (std::size_t at = 0; at + 1 < hex.size(); at += 2)
    {
        bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

std::map<int, TSGoldenLine> ReadGolden(const std::string& interfaceName)
{
    std::map<int, TSGoldenLine> lines;
    std::ifstream file(GOLDEN_FILE);
    std::string text;
    while (std::getline(file, text))
    {
        std::istringstream line(text);
        std::string interface;
        std::string name;
        std::string what;
        std::string bytes;
        int id = 0;
        if (line >> interface >> id >> name >> what >> bytes && interface == interfaceName)
        {
            std::erase(bytes, '|');
            TSGoldenLine& golden = lines[id];
            golden.name = name;
            golden.mayBeOneWay |= what == "request/one-way";
            (what == "reply" ? golden.reply : golden.request) = bytes;
        }
    }
    EXPECT_FALSE(lines.empty()) << GOLDEN_FILE;
    return lines;
}

namespace
{
// One of several operations of the same name, by its type.
template <class Signature, class Interface>
constexpr Signature Interface::*Overload(Signature Interface::*member)
{
    return member;
}

std::vector<unsigned char> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

std::basic_string<unsigned short> Wide(std::u16string_view text) { return {text.begin(), text.end()}; }
} // namespace

#define OPERATION(NAME) &TInterface::NAME

TEST(Golden, General)
{
    using TInterface = ICIGeneral;
    TGolden<TInterface, TCCIGeneralProxy, TCCIGeneralProxyNO_CI> check;
    const std::vector<TVSHandle> handles{{PROFILE_MAIN, 7}, {PROFILE_NONE, 0x1234}};
    const TCCiStatus status =
        Status({{-2, Slot(0, -1, {}, {})},
                {1, Slot(9, 0x1122334455667788, {{PROFILE_SUB, 2}, {PROFILE_RECORD, 3}}, {0x0500, 0x1801})}});
    const auto in = Bytes("in");
    const auto out = Bytes("out");
    check(0, OPERATION(GetCiSlotStatus), 2, {FILLED, {{0, CAM_STATUS_READY}, {200, CAM_STATUS_NO_CAM}}},
          {SENT, 0x89ABCDEF});
    check(2, OPERATION(GetCamModes), 3, {FILLED, {{0, CAM_MODE_CI_PLUS}, {1, CAM_MODE_CI}}});
    check(3, OPERATION(DisableDescrambling), 4, {SENT, handles});
    check(4, OPERATION(EnableDescrambling), 5, {SENT, {}});
    check(5, OPERATION(GetCurrentCiStatus), 6, {FILLED, status});
    check(6, OPERATION(CipTest), 7, {FILLED, true});
    check(7, OPERATION(CipTestStandard), 8, {FILLED, true});
    check(8, OPERATION(CipTestECP), 9, {FILLED, true});
    check(9, OPERATION(WriteCipKey), 10, {SENT, CIP_CERTIFICATE_TYPE_TEST},
          {SENT, CIP_CERTIFICATE_KIND_STANDARD_AND_ECP}, {FILLED, WRITE_CIP_SUCCESS});
    check(10, OPERATION(GetApplicationInfo), 11, {SENT, 1}, {FILLED, CI_APPLICATION_TYPE_EPG},
          {FILLED, Text({0x41, 0x20AC})}, {FILLED, Text({})});
    check(11, OPERATION(EnterMenu), 12, {SENT, 0xFE}, CHOOSES_ONE_WAY);
    check(12, OPERATION(HdsDisplayStatusChanged), 13, {SENT, 1}, {SENT, true}, CHOOSES_ONE_WAY);
    check(13, OPERATION(GetMmiText), 14, {SENT, 1}, {FILLED, Text({0x54})});
    check(14, OPERATION(GetMmiEnquiry), 15, {SENT, 1}, {FILLED, true}, {FILLED, 4}, {FILLED, Text({0x50, 0x49, 0x4E})});
    check(15, OPERATION(AnswerMmiEnquiry), 16, {SENT, 1}, {SENT, MMI_ANSWER_ID_ANSWER}, {SENT, Text({0x31, 0x32})},
          {SENT, true}, CHOOSES_ONE_WAY);
    check(16, OPERATION(GetMmiMenu), 17, {SENT, 1}, {FILLED, Text({1})}, {FILLED, Text({2})}, {FILLED, Text({3})},
          {FILLED, {Text({4, 5}), Text({}), Text({6})}});
    check(17, OPERATION(AnswerMmiMenu), 18, {SENT, 1}, {SENT, 9}, {SENT, true}, CHOOSES_ONE_WAY);
    check(18, OPERATION(GetMmiList), 19, {SENT, 1}, {FILLED, Text({1})}, {FILLED, Text({})}, {FILLED, Text({3})},
          {FILLED, {}});
    check(19, OPERATION(CloseMmi), 20, {SENT, 1}, {SENT, true}, CHOOSES_ONE_WAY);
    check(20, OPERATION(GetPinWindowShowHandler), 21, {SENT, {PROFILE_SUB, 0xBEEF}},
          {FILLED, PIN_WINDOW_SHOW_HANDLER_IS_CAM_REQUEST_NEEDED});
    check(21, OPERATION(IsCamPinNeeded), 22);
    check(22, OPERATION(SendAskRelease), 23);
    check(23, OPERATION(ShowCamPinWindow), 24, {SENT, {PROFILE_NONE, 1}});
    check(24, OPERATION(VerifyCamPin), 25, {SENT, 1}, {SENT, Bytes("1234")}, CHOOSES_ONE_WAY);
    check(25, OPERATION(SetCamPin), 26, {SENT, 1}, {SENT, {0x00, 0xFF}}, CHOOSES_ONE_WAY);
    check(26, OPERATION(SendCamUpgradeReply), 27, {SENT, 1}, {SENT, CAM_UPGRADE_ANSWER_ASK}, CHOOSES_ONE_WAY);
    check(27, OPERATION(SendCaPmt), 28, {SENT, 1}, {SENT, {PROFILE_RECORD_SECOND, 7}}, {SENT, {1, 0xFFFE}},
          {SENT, ECAPMTCMD_QUERY}, CHOOSES_ONE_WAY);
    check(28, OPERATION(GetCaSystemIds), 29, {FILLED, {{0, {0x0500, 0x1801}}, {1, {}}}});
    check(29, OPERATION(ConnectToSasApplication), 30, {SENT, 0xFEDCBA9876543210}, {FILLED, 0xABCD});
    check(30, OPERATION(SendSasData), 31, {SENT, 0xABCD}, {SENT, {1, 2, 3}});
    check(31, OPERATION(GetSasData), 32, {SENT, 0xABCD}, {SENT, 0x0102}, {FILLED, {9, 8}});
    check(32, OPERATION(GetDiffHellMsb), 33, {SENT, 0xABCD}, {FILLED, {0x80}});
    check(33, OPERATION(EncryptUsingAesCbcWithSAK), 34, {SENT, 1}, {SENT, in}, {FILLED, out});
    check(34, OPERATION(DecryptUsingAesEcbWithSEK), 35, {SENT, 2}, {SENT, in}, {FILLED, out});
    check(35, OPERATION(EncryptUsingAesCbcWithSAKConcatDHSK), 36, {SENT, 3}, {SENT, in}, {FILLED, out});
    check(36, OPERATION(ComputeSHA256ConcatDHSK), 37, {SENT, 4}, {SENT, {}}, {FILLED, {}});
    check(37, OPERATION(CiSlotTest), 38, {SENT, 0xFF});
    check(38, OPERATION(GetTuneBlockedByCi), 39, {SENT, {PROFILE_MAIN, 1}}, {SENT, STATE_CHANGE_SOURCE}, {SENT, -3},
          {FILLED, true});
    check(39, OPERATION(IsHostControlActive), 40, {FILLED, true});
    check(40, OPERATION(GetKeepAppRunning), 41, {FILLED, true});
    check(41, OPERATION(IsCamVideoTranscodingAuto), 42, {FILLED, true});
    check(42, OPERATION(IsAnyNeotionNp4CamInserted), 43, {FILLED, true});
    check(43, OPERATION(GetBackupFilePaths), 44, {FILLED, {"/a", "", "/b c"}});
    check(44, OPERATION(BackupFileDone), -45, {SENT, {"/a", ""}});
}

TEST(Golden, AppMMI)
{
    using TInterface = ICIAppMMI;
    TGolden<TInterface, TCCIAppMMIProxy, TCCIAppMMIProxyNO_CI> check;
    check(0, OPERATION(SetApplicationState), 1, {SENT, {PROFILE_NONE, 0x1234}}, {SENT, CI_APPMMI_INVALID},
          {SENT, CI_APPMMI_STATE_PLAYING}, {SENT, 0x8000000000000001});
    check(1, OPERATION(SendAppAbortRequest), 2, {SENT, 1}, {SENT, Bytes("req")});
    check(2, OPERATION(SendAppAbortAck), 3, {SENT, 2}, {SENT, {}});
    check(3, OPERATION(SendFileRequest), 4, {SENT, 3}, {SENT, Bytes("file")}, {SENT, -7});
    check(4, OPERATION(SendRequestStartAck), 5, {SENT, 4}, {SENT, 0x81});
    check(5, OPERATION(GetAbortAckData), 6, {SENT, -1}, {FILLED, Bytes("ack")});
    check(6, OPERATION(GetAbortRequestData), 7, {SENT, 5}, {FILLED, Bytes("request")});
    check(7, OPERATION(GetFileAckData), 8, {SENT, 6}, {FILLED, true}, {FILLED, true, false}, {FILLED, -9},
          {FILLED, Bytes("first")}, {FILLED, Bytes("second")});
    check(8, OPERATION(GetStartAppData), 9, {SENT, 5}, {SENT, 6}, {FILLED, Bytes("app")}, {FILLED, Bytes("parameters")},
          {FILLED, {PROFILE_RECORD, 0x4321}}, {FILLED, true});
}

TEST(Golden, AuxiliaryFileSystem)
{
    using TInterface = ICIAuxiliaryFileSystem;
    TGolden<TInterface, TCCIAuxiliaryFileSystemProxy, TCCIAuxiliaryFileSystemProxyNO_CI> check;
    check(0, OPERATION(GetAllAvailableFileSystems), 1,
          {FILLED, {{1, -2, DOMAIN_IDS_HbbTVEngineProfile1}, {0, 0, UNKNOWN_DOMAIN_ID}}});
    check(1, OPERATION(RegisterApplication), 2, {SENT, 0x0102}, {FILLED, 3});
    check(2, OPERATION(UnregisterApplication), 3, {SENT, 3}, {SENT, 0x0102});
    check(3, OPERATION(RequestFile), 4, {SENT, 5}, {SENT, 6}, {SENT, APP_REQUEST_FILEHASH}, {SENT, Bytes("a/b")});
    check(4, OPERATION(GetFileAcknowledge), 5, {SENT, 5},
          {FILLED, {true, false, static_cast<EFileRequestType>(255), {}, Bytes("content")}});
}

TEST(Golden, CICAMPlayer)
{
    using TInterface = ICICAMPlayer;
    TGolden<TInterface, TCCICAMPlayerProxy, TCCICAMPlayerProxyNO_CI> check;
    const TSCICAMPlayerHandle handle(7);
    check(0, OPERATION(VerifyLocation), handle, {SENT, TSIPServiceLocationData("ip://1")});
    check(1, OPERATION(PlayRequest), TSCICAMPlayerHandle(0xFFFE), {SENT, TSIPServiceLocationData()});
    check(2, OPERATION(SetPlayerSpeed), true, {SENT, handle}, {SENT, TSPlaybackSpeed(-100)});
    check(3, OPERATION(SetPlayerPosition), true, {SENT, handle},
          {SENT, TSPlaybackPosition(TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 90000)});
    check(4, OPERATION(StopPlayer), true, NEVER_SENT);
    check(5, OPERATION(MonitorPlayerInfo), true, {SENT, handle}, {SENT, 0xFFFFFFFF});
}

TEST(Golden, Debug)
{
    using TInterface = ICIDebug;
    TGolden<TInterface, TCCIDebugProxy, TCCIDebugProxyNO_CI> check;
    check(0, OPERATION(PrintStatus), 1);
    check(1, OPERATION(ClearDescramblingHistory), 2);
    check(2, OPERATION(ResetPcmcia), 3, {SENT, 1});
    check(3, OPERATION(ResetCertificateDataInEeprom), 4);
    check(4, OPERATION(ResetCertificateDataInSecureStorage), 5);
    check(5, OPERATION(SetTransportStreamRouteMode), 6, {SENT, 2}, {SENT, true});
    check(6, OPERATION(GetTransportStreamRouteMode), 7, {SENT, 2}, {FILLED, true});
    check(7, OPERATION(RestartCIMManager), 8);
    check(8, OPERATION(FactoryReset), 9);
    check(9, OPERATION(DebugTunePreparation), 10, {SENT, true});
    check(10, OPERATION(DebugTunePreparationAck), 11, {SENT, true});
    check(11, OPERATION(IsTunerLockedByCI), 12, {FILLED, true});
    check(12, OPERATION(OPClearSchedule), 13);
    check(13, OPERATION(OPRegisterSchedule), 14, {SENT, 0x80000001});
    check(14, OPERATION(OPPrintBootupReason), 15);
    check(15, OPERATION(StartOperatorProfileInstallation), 16);
    check(16, OPERATION(RemoveAllOperatorProfiles), 17);
    check(17, OPERATION(PrintCIServiceProtectionDatabase), 18);
    check(18, OPERATION(ClearCIServiceProtectionDatabase), 19);
    check(19, OPERATION(GetSlotsCount), 20, {FILLED, 2});
    check(20, OPERATION(RunMSPUCommand), 21, {SENT, 1}, {SENT, CI_DEBUG_MSPU_STOP_LTSID}, {SENT, 2}, {SENT, 0x0304});
    check(21, OPERATION(DisableCAM), 22, {SENT, true});
    check(22, OPERATION(TransferCertifcateDataFromEepromToSecureStorage), 23);
    check(23, OPERATION(CILogToggle), 24, {BOTH_WAYS, false, true});
}

TEST(Golden, OperatorProfile)
{
    using TInterface = ICIOperatorProfile;
    using TWide = std::basic_string<unsigned short>;
    TGolden<TInterface, TCCIOperatorProfileProxy, TCCIOperatorProfileProxyNO_CI> check;
    check(0,
          Overload<int(std::map<unsigned char, std::map<EAntennaMode, TWide>>&)>(
              OPERATION(GetNotInstalledOperatorProfiles)),
          1, {FILLED, {{1, {{ANTENNA_MODE_NONE, Wide(u"A\u20AC")}, {ANTENNA_MODE_SATELLITE, Wide(u"B")}}}, {2, {}}}});
    check(1, Overload<int(std::list<TSCIOperatorProfileData>&)>(OPERATION(GetNotInstalledOperatorProfiles)), 2,
          {FILLED,
           {{ANTENNA_MODE_TERRESTRIAL,
             SERVICE_MODE_OPERATOR,
             2,
             Wide(u"AB"),
             {ANTENNA_MODE_TERRESTRIAL, ANTENNA_MODE_CABLE},
             OP_PROFILE_TYPE_PROFILED_TYPE_2},
            {ANTENNA_MODE_NONE, SERVICE_MODE_NONE, 255, {}, {}, OP_PROFILE_TYPE_NON_PROFILED}}});
    check(2, OPERATION(GetInstalledOperatorProfileModesPerServiceMode), 3, {SENT, SERVICE_MODE_OPERATOR},
          {FILLED,
           {{{ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_OPERATOR}, Wide(u"op")},
            {{ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR}, Wide(u"sat")}}});
    check(3, Overload<int(std::map<TSTvMode, TWide>&)>(OPERATION(GetInstalledOperatorProfiles)), 4,
          {FILLED, {{{ANTENNA_MODE_CABLE, SERVICE_MODE_GENERIC}, Wide(u"c")}}});
    check(4, Overload<int(std::list<TSCIOperatorProfileData>&)>(OPERATION(GetInstalledOperatorProfiles)), 5,
          {FILLED,
           {{ANTENNA_MODE_SATELLITE,
             SERVICE_MODE_OPERATOR,
             0,
             Wide(u"x"),
             {ANTENNA_MODE_SATELLITE},
             OP_PROFILE_TYPE_PROFILED_TYPE_1}}});
    check(5, OPERATION(GetInstalledOperatorProfileModesCiSlots), 6,
          {FILLED,
           {{{ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_GENERIC}, 1},
            {{ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR}, 0}}});
    check(6, Overload<int(EProfile, int, unsigned char, TSTvMode const&)>(OPERATION(StartOperatorProfileInstallation)),
          7, {SENT, PROFILE_RECORD_SECOND}, {SENT, -5}, {SENT, 1},
          {SENT, {ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR}});
    check(7,
          Overload<int(EOperatorProfileInstallationOrigin, unsigned char, EOperatorProfileStartInstallationStatus&)>(
              OPERATION(StartOperatorProfileInstallation)),
          8, {SENT, OP_INSTALLATION_ACTIVATED_CI_APP}, {SENT, 1}, {FILLED, OP_START_INSTALLATION_NO_OPERATOR_PROFILE});
    check(8, OPERATION(UpdateOperatorProfile), 9, {SENT, 1});
    check(9, OPERATION(SetOperatorProfileInstallationState), 10, {SENT, 1}, {SENT, OP_INSTALLATION_ACTIVATED_AUTO_TUNE},
          CHOOSES_ONE_WAY);
    check(10, OPERATION(GetOperatorProfileInstallationState), 11, {SENT, 1},
          {FILLED, OP_INSTALLATION_ACTIVATED_CI_APP});
    check(11, OPERATION(GetOperatorProfileInstallationOrigin), 12, {SENT, 1}, {FILLED, OP_INSTALLATION_ACTIVATED_PNP});
    check(12, OPERATION(RemoveOperatorProfile), 13, {SENT, {ANTENNA_MODE_NONE, SERVICE_MODE_GENERIC}}, CHOOSES_ONE_WAY);
    check(13, OPERATION(GetOperatorProfileContentLabel), 14, {SENT, {ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_OPERATOR}},
          {SENT, 1}, {SENT, 2}, {FILLED, Wide(u"label")});
}

TEST(Golden, SampleDecryption)
{
    using TInterface = ICISampleDecryption;
    using TTracks = std::vector<TSSampleTrackNonTSFormat>;
    using TRecords = std::vector<TSDRMMetadataRecord>;
    TGolden<TInterface, TCCISampleDecryptionProxy, TCCISampleDecryptionProxyNO_CI> check;
    const TSDRMUuid uuid(Bytes("0123456789abcdef"));
    const TVSHandle handle(PROFILE_SUB, 0x0203);
    check(0, Overload<bool(TSDRMSystemId const&)>(OPERATION(IsDRMSupported)), true, {SENT, TSDRMSystemId(0x4AF4)});
    check(1, Overload<bool(TSDRMUuid const&)>(OPERATION(IsDRMSupported)), true, {SENT, uuid});
    check(2, Overload<bool(TVSHandle const&, TTracks const&)>(OPERATION(StartSampleDecryption)), true, {SENT, handle},
          {SENT,
           {{0x100,
             {{CENC_PSSH_BOX, TSDRMSystemId(0x4AF4), uuid, Bytes("pssh")},
              {CASD_DRM_GENERIC_DATA, TSDRMSystemId(), TSDRMUuid(Bytes("fedcba9876543210")), {}}}},
            {0x101, {}}}});
    check(3, Overload<bool(TVSHandle const&, unsigned short, TRecords const&)>(OPERATION(StartSampleDecryption)), true,
          {SENT, handle}, {SENT, 0x0B00}, {SENT, {{ONLINE_SDT_DRM_PRIVATE_DATA, TSDRMSystemId(1), uuid, Bytes("m")}}});
    check(4, Overload<bool(TVSHandle const&, TTracks const&)>(OPERATION(UpdateSampleDecryption)), true,
          {SENT, {PROFILE_NONE, 0xFFFF}}, {SENT, {}});
    check(5, Overload<bool(TVSHandle const&, TRecords const&)>(OPERATION(UpdateSampleDecryption)), true, {SENT, handle},
          {SENT, {{MPD_CONTENT_PROTECTION_ELEMENT, TSDRMSystemId(2), uuid, Bytes("mpd")}}});
}

TEST(Golden, PvrCip)
{
    using TInterface = IPvrCip;
    TGolden<TInterface, TCPvrCipProxy, TCPvrCipProxyNO_CI> check;
    const std::string file = "/rec/1.ts";
    const auto three = static_cast<ESpeedRestriction>(3);
    const auto zero = static_cast<ESpeedRestriction>(0);
    check(0, OPERATION(SetRecordingEsPids), 1, {SENT, {PROFILE_RECORD, 9}}, {SENT, {0x100, 0x1FFF}}, CHOOSES_ONE_WAY);
    check(1, OPERATION(IsFileExceededRetentionLimit), 2, {SENT, file}, {FILLED, true});
    check(2, OPERATION(GetCIThumbType), 3, {SENT, ""}, {FILLED, THUMB_TYPE_INVALID});
    check(3, OPERATION(GetContentInfo), 4, {SENT, file}, {FILLED, INFO_TYPE_PLAY_COUNT}, {FILLED, 0xC8});
    check(4, OPERATION(GetExpiredContentSections), 5, {SENT, file}, {FILLED, {{1, -2}, {0x1122334455667788, 4}}});
    check(5, OPERATION(IsBlockedByParentalControl), 6, {SENT, file}, {FILLED, true});
    check(6, OPERATION(CheckThumbnailValidation), 7, {SENT, file}, {SENT, -1234567890}, {FILLED, true});
    check(7, OPERATION(IsThisStreamCopyProtected), 8, {SENT, {PROFILE_MAIN, 1}}, {FILLED, true});
    check(8, OPERATION(IsSkippingForwardAllowed), true, {SENT, -10}, {BOTH_WAYS, 11, 12});
    check(9, OPERATION(IsSkippingBackwardsAllowed), true, {SENT, 10}, {BOTH_WAYS, -1, 0});
    check(10, OPERATION(IsFastForwardAllowed), true, {SENT, 10}, {BOTH_WAYS, 1, 2},
          {BOTH_WAYS, SPEED_RESTRICTION_NONE, three});
    check(11, OPERATION(IsFastRewindAllowed), true, {SENT, 10}, {BOTH_WAYS, 1, 2},
          {BOTH_WAYS, zero, SPEED_RESTRICTION_NONE});
}

TEST(Golden, SignalSubscriber)
{
    using TInterface = ICISignalSubscriber;
    TGolden<TInterface, TCCISignalSubscriberProxy, TCCISignalSubscriberProxyNO_CI> check;
    const auto type = static_cast<ECISignalType>(5);
    check(0, OPERATION(Subscribe), 1, {SENT, type}, NEVER_SENT, {SENT, PROFILE_SUB}, {SENT, 0x0203},
          {PROCESS_ID, 4660});
    check(1, OPERATION(Unsubscribe), 2, {SENT, type}, {SENT, PROFILE_SUB}, {SENT, 0x0203}, {PROCESS_ID, 4660});
}
} // namespace CIM
