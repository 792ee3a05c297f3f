#include "Application.h"

using namespace CIM;

// What a CAM is there for: descrambling, SAS, profiles, recordings, samples, playback, files, applications.

namespace
{
const TVSHandle MAIN(PROFILE_MAIN, 0);

using TWide = std::basic_string<unsigned short>;
TWide Wide(std::u16string_view text) { return {text.begin(), text.end()}; }

std::vector<unsigned char> Counting(std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
    {
        bytes[i] = static_cast<unsigned char>(i);
    }
    return bytes;
}

TSDRMMetadataRecord Record() { return {CENC_PSSH_BOX, TSDRMSystemId(0x0B00), TSDRMUuid(), Counting(65'536)}; }

void CamPulled(TCApplication& application)
{
    ICIGeneral& general = application.general;
    ICICAMPlayer& player = *TCCIService::CICAMPlayerInstance();
    ICISampleDecryption& decryption = *TCCIService::CISampleDecryptionInstance();
    unsigned short session = 0;
    NEED(general.SendCaPmt(0, MAIN, {0x0B00}, ECAPMTCMD_OKDESCR, false) == 1);
    NEED(TCCIService::PvrCipInstance()->SetRecordingEsPids(MAIN, {100, 101}, false) == 1);
    NEED(general.ConnectToSasApplication(1, session) == 1);
    NEED(decryption.StartSampleDecryption(MAIN, 0xFFFF, {Record()}));
    NEED(player.PlayRequest(TSIPServiceLocationData("<location>live</location>")).IsValid());
    application.Subscribe({SIGNAL_CI_MMI_STATUS_CHANGED, SIGNAL_CI_SAS_STATUS_CHANGE, SIGNAL_CI_FILE_RETRIEVAL_MESSAGE,
                           SIGNAL_CI_CICAM_PLAYER_ERROR, SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS,
                           SIGNAL_CI_RECORD_STOP_REQUEST, SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED,
                           SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, SIGNAL_CI_CA_SYSTEMS_CHANGE,
                           SIGNAL_CI_SAC_STATUS_CHANGE, SIGNAL_CI_CAM_READY_STATUS_CHANGED});
    application.SkipTo(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, 1);
    NEED(general.EnterMenu(0, false) == 1);
    application.SkipTo(SIGNAL_CI_MMI_STATUS_CHANGED, CI_MMI_STATUS_MENU_RECEIVED);
    ReadMenu(application); // then the CAM is pulled

    application.Next(SIGNAL_CI_MMI_STATUS_CHANGED, CI_MMI_STATUS_SESSION_CLOSED);
    NEED(application.Next(SIGNAL_CI_SAS_STATUS_CHANGE, CAM_SAS_STATUS_SESSION_CLOSED).id == session);
    application.Next(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, CI_FILE_RETRIEVAL_DEL_FILE_SYSTEM);
    application.Next(SIGNAL_CI_CICAM_PLAYER_ERROR, 0xFF);
    application.Next(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, 0);
    application.Next(SIGNAL_CI_RECORD_STOP_REQUEST, RECORD_STOP_LICENSE_STATUS_INVALID);
    application.Next(SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED, CI_SD_TX_STATUS_ERROR_OTHER_REASON);
    application.Next(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, 0);
    NEED(application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE).value == 0);
    application.Next(SIGNAL_CI_SAC_STATUS_CHANGE, 0);
    application.Next(SIGNAL_CI_CAM_READY_STATUS_CHANGED, CAM_STATUS_NO_CAM);
    application.NeedSilence();

    NEED(general.SendSasData(session, Bytes("late")) == 0); // then the CAM comes back
    NEED(application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE).value == 2);
    application.Next(SIGNAL_CI_SAC_STATUS_CHANGE, 1);
    application.Next(SIGNAL_CI_CAM_READY_STATUS_CHANGED, CAM_STATUS_READY);
    application.Next(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM);
    unsigned short newSession = session;
    NEED(general.ConnectToSasApplication(1, newSession) == 1 && newSession != session);
}

void CaPmtLife(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_PMT_SENT_TO_CAM, SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, SIGNAL_CI_CA_REPLY,
                           SIGNAL_CI_CA_SYSTEMS_CHANGE});
    const auto send = [&](ECaPmtCmd command)
    {
        NEED(application.general.SendCaPmt(0, MAIN, {0x0B00}, command, false) == 1);
        application.Next(SIGNAL_CI_PMT_SENT_TO_CAM, command);
    };
    send(ECAPMTCMD_QUERY);
    application.Next(SIGNAL_CI_CA_REPLY, 0x01);
    send(ECAPMTCMD_OKDESCR);
    application.Next(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, 1);
    application.Next(SIGNAL_CI_CA_REPLY, 0x01);
    TCCiStatus status;
    NEED(application.general.GetCurrentCiStatus(status) == 1); // the rights lapse meanwhile
    NEED(status.slots[0].slotFlag == 1 && status.slots[0].handles == std::vector<TVSHandle>{MAIN});
    application.Next(SIGNAL_CI_CA_REPLY, 0x71);
    send(ECAPMTCMD_NOT_SELECTED);
    application.Next(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, 0);
    NEED(application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE).value == 0); // the card is pulled
    std::map<unsigned char, std::list<unsigned short>> ids;
    NEED(application.general.GetCaSystemIds(ids) == 1 && ids[0].empty());
}

void OperatorProfileInstall(TCApplication& application)
{
    constexpr ECISignalType PROFILE = SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE;
    ICIOperatorProfile& profiles = *TCCIService::CIOperatorProfileInstance();
    application.Subscribe({PROFILE});
    std::list<TSCIOperatorProfileData> offered;
    NEED(profiles.GetNotInstalledOperatorProfiles(offered) == 1 && offered.size() == 1);
    NEED(offered.front().profileName == Wide(u"Kelvora Sat") && offered.front().slotId == 0);
    EOperatorProfileStartInstallationStatus status = OP_START_INSTALLATION_REFUSED;
    NEED(profiles.StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_CI_APP, 0, status) == 1);
    NEED(status == OP_START_INSTALLATION_STARTED);
    application.Next(PROFILE, CAM_OP_STATUS_INSTALLATION_SUCCESS);
    std::map<TSTvMode, TWide> installed;
    NEED(profiles.GetInstalledOperatorProfiles(installed) == 1 && installed.size() == 1);
    const TSTvMode mode = installed.begin()->first;
    NEED(mode.antennaMode == ANTENNA_MODE_SATELLITE && mode.serviceMode == SERVICE_MODE_OPERATOR);
    TWide label;
    NEED(profiles.GetOperatorProfileContentLabel(mode, 0, 1, label) == 1 && label == Wide(u"Sport"));
    application.Next(PROFILE, CAM_OP_STATUS_REFRESH_REQUEST);
    NEED(profiles.UpdateOperatorProfile(0) == 1);
    application.Next(PROFILE, CAM_OP_STATUS_UPDATE_READY_TO_START);
    application.Next(PROFILE, CAM_OP_STATUS_UPDATE_SUCCESS);
    NEED(profiles.RemoveOperatorProfile(mode, false) == 1);
    NEED(profiles.GetInstalledOperatorProfiles(installed) == 1 && installed.empty());
}

void HostControl(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS, SIGNAL_CI_REQUEST_TUNE_BLOCKING,
                           SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_NOT_ALLOWED});
    bool isActive = true;
    NEED(application.general.SendAskRelease() == 1);
    application.Next(SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS, 0);
    NEED(application.general.IsHostControlActive(isActive) == 1 && !isActive); // tuning is forbidden meanwhile
    application.Next(SIGNAL_CI_REQUEST_TUNE_BLOCKING, 1);
    bool isBlocked = false;
    NEED(application.general.GetTuneBlockedByCi(MAIN, STATE_CHANGE_SERVICE, 0, isBlocked) == 1 && isBlocked);
    application.Next(SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_NOT_ALLOWED);
    NEED(application.general.SendAskRelease() == 0);
}

void Sas(TCApplication& application)
{
    constexpr ECISignalType SAS = SIGNAL_CI_SAS_STATUS_CHANGE;
    ICIGeneral& general = application.general;
    application.Subscribe({SAS});
    const auto receive = [&](unsigned short session, const std::vector<unsigned char>& expected)
    {
        const TSSeen seen = application.Next(SAS, CAM_SAS_STATUS_DATA_RECEIVED);
        std::vector<unsigned char> data;
        NEED(seen.id == session && general.GetSasData(session, static_cast<unsigned short>(seen.value), data) == 1);
        NEED(data == expected);
    };
    const auto connect = [&](unsigned long long id, unsigned result)
    {
        unsigned short session = 0;
        NEED(general.ConnectToSasApplication(id, session) == 1);
        NEED(application.Next(SAS, CAM_SAS_STATUS_SESSION_OPEN).id == session);
        NEED(application.Next(SAS, CAM_SAS_STATUS_CONNECT_RESULT).value == result);
        return session;
    };
    NEED(general.SendSasData(1, Bytes("before connecting")) == 0);
    const unsigned short second = connect(2, SAS_CONNECTION_STATUS_CONNECT_OK);
    receive(second, Bytes("hello"));
    NEED(general.SendSasData(second, Bytes("ping")) == 1);
    receive(second, Bytes("pong"));
    const unsigned short first = connect(1, SAS_CONNECTION_STATUS_CONNECT_OK);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{65'536}})
    {
        NEED(general.SendSasData(first, Counting(size)) == 1);
        receive(first, Counting(size));
    }
    // The CAM's own message comes while this is being refused.
    unsigned short refused = 0;
    NEED(general.ConnectToSasApplication(99, refused) == 1);
    application.Next(SAS, CAM_SAS_STATUS_SESSION_OPEN);
    const TSSeen seen = application.Next(SAS, CAM_SAS_STATUS_DATA_RECEIVED);
    std::vector<unsigned char> data;
    NEED(seen.id == second && general.GetSasData(second, 0, data) == 1);
    NEED((data == std::vector<unsigned char>{0x00, 0xFF, 0x00}));
    NEED(application.Next(SAS, CAM_SAS_STATUS_CONNECT_RESULT).value == SAS_CONNECTION_STATUS_CONNECT_DENIED_NO_APP);
}

void RecordingExpiry(TCApplication& application)
{
    const std::string file = "/pvr/ninety-minutes.ts";
    IPvrCip& pvr = *TCCIService::PvrCipInstance();
    application.Subscribe({SIGNAL_CI_CC_LICENSE_CONFIRMED, SIGNAL_CI_PLAYBACK_STOP_REQUEST});
    application.Next(SIGNAL_CI_CC_LICENSE_CONFIRMED, 3);
    EThumbType thumb = THUMB_TYPE_INVALID;
    int allowed = 0;
    NEED(pvr.IsSkippingBackwardsAllowed(1'200'000, allowed) && allowed == -1);
    NEED(pvr.GetCIThumbType(file, thumb) == 1 && thumb == THUMB_TYPE_OK); // half an hour passes
    std::vector<SContentSection> expired;
    NEED(pvr.IsSkippingBackwardsAllowed(1'200'000, allowed) && allowed == 600'000);
    NEED(pvr.GetExpiredContentSections(file, expired) == 1); // almost the rest of ninety minutes passes
    NEED((expired == std::vector<SContentSection>{{0, 600'000}}));
    bool isExceeded = true;
    NEED(pvr.IsFileExceededRetentionLimit(file, isExceeded) == 1 && !isExceeded); // the last millisecond passes
    application.Next(SIGNAL_CI_PLAYBACK_STOP_REQUEST, PLAYBACK_STOP_CONTENT_EXPIRED);
    NEED(pvr.IsFileExceededRetentionLimit(file, isExceeded) == 1 && isExceeded);
    NEED(pvr.GetCIThumbType(file, thumb) == 1 && thumb == THUMB_TYPE_INVALID);
}

void SampleDecryption(TCApplication& application)
{
    constexpr ECISignalType STATUS = SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED;
    ICISampleDecryption& decryption = *TCCIService::CISampleDecryptionInstance();
    application.Subscribe({STATUS});
    const auto next = [&](ESampleDecryptionDRMStatus status)
    {
        const TSSeen seen = application.Next(STATUS, CI_SD_TX_STATUS_READY_TO_RECEIVE);
        NEED(seen.id == 0x0B00 && (seen.value & 0xFFFF) == static_cast<unsigned>(status) && seen.value >> 16 == 5'000);
    };
    NEED(decryption.StartSampleDecryption(MAIN, 0xFFFF, {Record()}));
    next(CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED);
    next(CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE);
    NEED(!decryption.StartSampleDecryption(MAIN, 0xFFFF, {Record()}));
    NEED(decryption.IsDRMSupported(
        TSDRMUuid(std::vector<unsigned char>{0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B,
                                             0x1C, 0x1D, 0x1E, 0x1F}))); // the rights go meanwhile
    next(CI_SD_DRM_STATUS_ERROR_NO_ENTITLEMENT);
    NEED(!decryption.IsDRMSupported(TSDRMSystemId(0x1234)));
    NEED(decryption.UpdateSampleDecryption(MAIN, std::vector<TSDRMMetadataRecord>()));
    NEED(!decryption.UpdateSampleDecryption(MAIN, {Record()}));
}

void CicamPlayer(TCApplication& application)
{
    constexpr ECISignalType STATUS = SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS;
    constexpr ECISignalType SPEED = SIGNAL_CI_CICAM_PLAYER_INFO_SPEED;
    enum
    {
        STOPPED,
        PLAYING,
        PAUSED,
        REACHED_BEGIN,
        REACHED_END
    };
    ICICAMPlayer& player = *TCCIService::CICAMPlayerInstance();
    const TSIPServiceLocationData news("<location>news</location>");
    application.Subscribe({SIGNAL_CI_CICAM_PLAYER_CONTENT_VERIFIED, SIGNAL_CI_CICAM_PLAYER_ERROR, STATUS, SPEED});
    const TSCICAMPlayerHandle verified = player.VerifyLocation(news);
    NEED(application.Next(SIGNAL_CI_CICAM_PLAYER_CONTENT_VERIFIED, 1).id == verified.identifier);
    NEED(player.PlayRequest(TSIPServiceLocationData("<location>forbidden</location>")).IsValid());
    application.Next(SIGNAL_CI_CICAM_PLAYER_ERROR, 2);
    NEED(player.PlayRequest(TSIPServiceLocationData("<location>nowhere</location>")).IsValid());
    application.Next(SIGNAL_CI_CICAM_PLAYER_ERROR, 1);
    const TSCICAMPlayerHandle handle = player.PlayRequest(news);
    NEED(application.Next(STATUS, PLAYING).id == handle.identifier);
    NEED(!player.PlayRequest(news).IsValid());
    NEED(player.MonitorPlayerInfo(handle, 60'000));
    NEED(application.Next(SPEED).value == 100);
    NEED(player.SetPlayerSpeed(handle, TSPlaybackSpeed(0)));
    application.Next(STATUS, PAUSED);
    NEED(application.Next(SPEED).value == 0);
    NEED(player.SetPlayerSpeed(handle, TSPlaybackSpeed(-100)));
    application.Next(STATUS, PLAYING);
    NEED(application.Next(SPEED).value == 0xFF9C);
    NEED(player.SetPlayerSpeed(handle, TSPlaybackSpeed(200)));
    application.Next(STATUS, PLAYING);
    NEED(application.Next(SPEED).value == 200);
    NEED(!player.SetPlayerPosition(TSCICAMPlayerHandle(handle.identifier + 1),
                                   {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 0}));
    NEED(!player.SetPlayerPosition(handle, {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 600'001}));
    NEED(!player.SetPlayerPosition(handle, {TSPlaybackPosition::SEEK_MODE_RELATIVE, -1}));
    NEED(player.SetPlayerPosition(handle, {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 595'000}));
    application.Next(STATUS, REACHED_END);
    NEED(application.Next(SPEED).value == 0);
    NEED(player.StopPlayer(handle));
    application.Next(STATUS, STOPPED);
    NEED(!player.StopPlayer(handle));
}

void AuxiliaryFiles(TCApplication& application)
{
    constexpr ECISignalType FILES = SIGNAL_CI_FILE_RETRIEVAL_MESSAGE;
    ICIAuxiliaryFileSystem& files = *TCCIService::CIAuxiliaryFileSystemInstance();
    application.Subscribe({FILES});
    std::vector<TCCiAuxiliaryFileSystemDTO> systems;
    NEED(files.GetAllAvailableFileSystems(systems) == 1 && systems.size() == 1);
    NEED(systems[0].domainId == DOMAIN_IDS_CIMHEGP1 && systems[0].intValue == 0);
    const unsigned short system = systems[0].shortValue;
    unsigned char id = 0;
    NEED(files.RequestFile(system, 1, APP_REQUEST_FILE, Bytes("index.html")) == 0); // not registered
    NEED(files.RegisterApplication(system, id) == 1);
    const std::vector<std::pair<std::string, std::vector<unsigned char>>> requests = {
        {"index.html", Bytes("<p>CAM</p>")},
        {"missing.html", {}},
        {"../index.html", {}},
        {"big.bin", Counting(5 << 20)}};
    for (const auto& [name, content] : requests)
    {
        NEED(files.RequestFile(system, id, APP_REQUEST_FILE, Bytes(name)) == 1);
        NEED(application.Next(FILES, CI_FILE_RETRIEVAL_NEW_FILE).id == system);
        TCCiFileAckDTO answer;
        NEED(files.GetFileAcknowledge(system, answer) == 1);
        NEED(answer.firstFlag == !content.empty() && answer.firstData == Bytes(name) && answer.secondData == content);
    }
    NEED(files.UnregisterApplication(id, system) == 1); // the CAM takes the file system back
    application.Next(FILES, CI_FILE_RETRIEVAL_DEL_FILE_SYSTEM);
    NEED(files.RegisterApplication(system, id) == 0);
}

void ApplicationMmi(TCApplication& application)
{
    ICIAppMMI& mmi = *TCCIService::CIAppMMIInstance();
    application.Subscribe({SIGNAL_CI_APP_MMI_START_APP, SIGNAL_CI_APP_MMI_FILE_ACK, SIGNAL_CI_APP_MMI_ABORT_REQ,
                           SIGNAL_CI_APP_MMI_ABORT_ACK});
    const TSSeen start = application.Next(SIGNAL_CI_APP_MMI_START_APP);
    const auto session = static_cast<unsigned short>(start.id);
    std::vector<unsigned char> first;
    std::vector<unsigned char> second;
    TVSHandle pipeline;
    bool hasObject = false;
    NEED(mmi.GetStartAppData(session, static_cast<int>(start.value), first, second, pipeline, hasObject) == 1);
    NEED(first == Bytes("HbbTVEngineProfile1") && second == Bytes("start.xml") && hasObject && pipeline == MAIN);
    NEED(mmi.SendFileRequest(session, second, APP_REQUEST_FILE) == 0); // not accepted yet
    NEED(mmi.SendRequestStartAck(session, 1) == 1);
    NEED(mmi.SendFileRequest(session, second, APP_REQUEST_FILE) == 1);
    const TSSeen file = application.Next(SIGNAL_CI_APP_MMI_FILE_ACK);
    bool isFound = false;
    bool isServed = false;
    int type = -1;
    NEED(mmi.GetFileAckData(static_cast<int>(file.value), isFound, isServed, type, first, second) == 1);
    NEED(isFound && isServed && type == APP_REQUEST_FILE && second == Bytes("<a/>"));
    const TSSeen abort = application.Next(SIGNAL_CI_APP_MMI_ABORT_REQ);
    NEED(mmi.GetAbortRequestData(static_cast<int>(abort.value), first) == 1 && first == Bytes("\x01"));
    NEED(mmi.SendAppAbortAck(session, {}) == 1);
    NEED(mmi.SendAppAbortAck(session, {}) == 0);
}
} // namespace

const std::vector<TSStory>& ContentStories()
{
    static const std::vector<TSStory> stories = {
        {"cam-pulled", CamPulled},
        {"ca-pmt-life", CaPmtLife},
        {"operator-profile-install", OperatorProfileInstall},
        {"host-control", HostControl},
        {"sas", Sas},
        {"recording-expiry", RecordingExpiry},
        {"sample-decryption", SampleDecryption},
        {"cicam-player", CicamPlayer},
        {"auxiliary-files", AuxiliaryFiles},
        {"application-mmi", ApplicationMmi},
    };
    return stories;
}
