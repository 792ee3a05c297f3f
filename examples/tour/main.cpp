// A call or two on each of the nine interfaces, with what comes back. To be run beside the simulator:
//
//     ci-daemon-sim run -- example-tour

#include <ciapi/CIService.h>
#include <ciapi/CITextUtils.h>

#include <glib.h>

#include <iostream>
#include <string>

using namespace CIM;

namespace
{
constexpr unsigned char SLOT = 0;
bool g_isGood = true;
int g_signals = 0;
bool g_hasFile = false;
bool g_hasSession = false;

int OnCiSignal(ECISignalType type, EProfile, unsigned short, TSSignalData data, void*)
{
    ++g_signals;
    g_hasFile = g_hasFile || (type == SIGNAL_CI_FILE_RETRIEVAL_MESSAGE && data.bytes[1] == CI_FILE_RETRIEVAL_NEW_FILE);
    g_hasSession =
        g_hasSession || (type == SIGNAL_CI_SAS_STATUS_CHANGE && data.bytes[1] == CAM_SAS_STATUS_CONNECT_RESULT);
    std::cout << "    <- " << ToString(type) << '\n';
    return 0;
}

/// Says what was called and what came back; a call that was not answered makes the tour end badly.
/// \param[in] answer  puts the outputs into words, once they are there
template <class Answer>
void Show(const char* call, int result, Answer answer)
{
    std::cout << "    " << call << ": " << (result == 1 ? answer() : std::string("no answer")) << '\n';
    g_isGood = g_isGood && result == 1;
}

void Heading(const char* name) { std::cout << '\n' << name << '\n'; }

std::string Utf8(const std::basic_string<unsigned short>& text) { return TCUnicodeUtils::UnicodeToUtf8(text); }

/// Lets signals in until something is so, up to some time.
template <class Condition>
void WaitUntil(unsigned milliseconds, Condition isSo)
{
    bool isOver = false;
    const guint timer = g_timeout_add(
        milliseconds,
        [](gpointer over) -> gboolean
        {
            *static_cast<bool*>(over) = true;
            return G_SOURCE_CONTINUE;
        },
        &isOver);
    while (!isOver && !isSo())
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(timer);
}

void General(ICIGeneral& ci)
{
    Heading("ICIGeneral");
    std::map<unsigned char, ECamStatus> statuses;
    Show("GetCiSlotStatus", ci.GetCiSlotStatus(statuses, 0),
         [&] { return std::to_string(statuses.size()) + " slots"; });
    std::map<unsigned char, std::list<unsigned short>> caSystemIds;
    Show("GetCaSystemIds", ci.GetCaSystemIds(caSystemIds),
         [&] { return std::to_string(caSystemIds[SLOT].size()) + " CA systems in slot 0"; });
    unsigned short session = 0;
    Show("ConnectToSasApplication", ci.ConnectToSasApplication(1, session),
         [&] { return "session " + std::to_string(session); });
    WaitUntil(2000, [] { return g_hasSession; });
    const std::vector<unsigned char> block(16, 0x6B);
    std::vector<unsigned char> encrypted;
    Show("EncryptUsingAesCbcWithSAK", ci.EncryptUsingAesCbcWithSAK(session, block, encrypted),
         [&] { return ByteArrayToString(encrypted); });
}

void AppMmi(ICIAppMMI& mmi)
{
    Heading("ICIAppMMI");
    Show("SetApplicationState",
         mmi.SetApplicationState(TVSHandle(PROFILE_MAIN, 0), CI_APPMMI_MHEG, CI_APPMMI_STATE_READY, 0),
         [&] { return std::string("the daemon knows that the MHEG engine is ready"); });
}

void AuxiliaryFileSystem(ICIAuxiliaryFileSystem& files)
{
    Heading("ICIAuxiliaryFileSystem");
    std::vector<TCCiAuxiliaryFileSystemDTO> offered;
    Show("GetAllAvailableFileSystems", files.GetAllAvailableFileSystems(offered),
         [&] { return std::to_string(offered.size()) + " offered"; });
    if (offered.empty())
    {
        g_isGood = false;
        return;
    }
    unsigned char application = 0;
    const unsigned short system = offered.front().shortValue;
    Show("RegisterApplication", files.RegisterApplication(system, application),
         [&] { return "application " + std::to_string(application); });
    const std::string name = "index.html";
    Show("RequestFile", files.RequestFile(system, application, APP_REQUEST_FILE, {name.begin(), name.end()}),
         [&] { return name; });
    WaitUntil(2000, [] { return g_hasFile; });
    TCCiFileAckDTO file;
    Show("GetFileAcknowledge", files.GetFileAcknowledge(system, file),
         [&] { return std::string(file.secondData.begin(), file.secondData.end()); });
}

void Player(ICICAMPlayer& player)
{
    Heading("ICICAMPlayer");
    const TSCICAMPlayerHandle handle = player.PlayRequest(TSIPServiceLocationData("<location>news</location>"));
    Show("PlayRequest", handle.IsValid(), [&] { return handle.ToString(); });
    WaitUntil(2000, [before = g_signals] { return g_signals > before; });
    const TSPlaybackSpeed speed(200);
    Show("SetPlayerSpeed", player.SetPlayerSpeed(handle, speed), [&] { return ToString(speed); });
    Show("StopPlayer", player.StopPlayer(handle), [&] { return std::string("stopped"); });
}

void OperatorProfile(ICIOperatorProfile& profiles)
{
    Heading("ICIOperatorProfile");
    std::list<TSCIOperatorProfileData> offered;
    Show("GetNotInstalledOperatorProfiles", profiles.GetNotInstalledOperatorProfiles(offered),
         [&] { return offered.empty() ? std::string("none") : Utf8(offered.front().profileName); });
    EOperatorProfileStartInstallationStatus status{};
    Show("StartOperatorProfileInstallation",
         profiles.StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_CI_APP, SLOT, status),
         [&] { return std::string("started"); });
}

void SampleDecryption(ICISampleDecryption& decryption)
{
    Heading("ICISampleDecryption");
    Show("IsDRMSupported", decryption.IsDRMSupported(TSDRMSystemId(0x0B00)),
         [&] { return std::string("the CAM knows DRM system 0x0B00"); });
}

void Pvr(IPvrCip& pvr)
{
    Heading("IPvrCip");
    EInfoType kind{};
    unsigned char value = 0;
    Show("GetContentInfo", pvr.GetContentInfo("/pvr/play-twice.ts", kind, value),
         [&] { return ToString(kind) + " " + std::to_string(value); });
    bool isBlocked = false;
    Show("IsBlockedByParentalControl", pvr.IsBlockedByParentalControl("/pvr/rated.ts", isBlocked),
         [&] { return std::string(isBlocked ? "blocked" : "free"); });
}

void Debug(ICIDebug& debug)
{
    Heading("ICIDebug");
    unsigned char count = 0;
    Show("GetSlotsCount", debug.GetSlotsCount(count), [&] { return std::to_string(count) + " slots"; });
}
} // namespace

int main()
{
    Heading("ICISignalSubscriber");
    ICISignalSubscriber& signals = *TCCIService::CISignalSubscriberInstance(OnCiSignal);
    for (const auto type :
         {SIGNAL_CI_CAM_READY_STATUS_CHANGED, SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS})
    {
        Show("Subscribe", signals.Subscribe(type, nullptr, PROFILE_MAIN, SLOT, 0), [&] { return ToString(type); });
    }
    std::map<unsigned char, ECamStatus> statuses;
    TCCIService::CIGeneralInstance()->GetCiSlotStatus(statuses, 0);
    if (statuses[SLOT] != CAM_STATUS_READY)
    {
        WaitUntil(5000, [] { return g_signals > 0; }); // the CAM needs a moment after it has been put in
    }

    General(*TCCIService::CIGeneralInstance());
    AppMmi(*TCCIService::CIAppMMIInstance());
    AuxiliaryFileSystem(*TCCIService::CIAuxiliaryFileSystemInstance());
    Player(*TCCIService::CICAMPlayerInstance());
    OperatorProfile(*TCCIService::CIOperatorProfileInstance());
    SampleDecryption(*TCCIService::CISampleDecryptionInstance());
    Pvr(*TCCIService::PvrCipInstance());
    Debug(*TCCIService::CIDebugInstance());
    TCCIService::Destroy();
    return g_isGood ? 0 : 1;
}
