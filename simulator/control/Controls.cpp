#include "Controls.h"

#include "commandline/Nearest.h"
#include "simulator/definition/DefinitionJson.h"
#include "simulator/model/Parts.h"
#include "json/Signals.h"
#include "json/ValueForms.h"

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>

namespace CIM
{
namespace sim
{
namespace
{
/// What a CAM wants of its host, as set-flag changes it.
enum EFlag : int
{
    FLAG_KEEP_APP_RUNNING,
    FLAG_RELEASES_TUNER,
    FLAG_SPECIAL_CAM,
    FLAG_TRANSCODING_AUTO,
};
} // namespace
} // namespace sim

template <>
struct TSEnumNames<sim::EFlag>
{
    static constexpr std::string_view type = "flag";
    static constexpr TSEnumName<sim::EFlag> entries[] = {
        {sim::FLAG_KEEP_APP_RUNNING, "keep-app-running"},
        {sim::FLAG_RELEASES_TUNER, "releases-tuner"},
        {sim::FLAG_SPECIAL_CAM, "special-cam"},
        {sim::FLAG_TRANSCODING_AUTO, "transcoding-auto"},
    };
};
} // namespace CIM

namespace CIM::sim
{
namespace
{
using TSlot = unsigned char;
using THandle = unsigned short;

constexpr auto SLOT = Optional<TSlot>("slot", 0, "number of the slot");
constexpr auto PROFILE = Optional<EProfile>("profile", PROFILE_MAIN, "of the TV pipeline");
constexpr auto HANDLE = Optional<THandle>("handle", 0, "of the TV pipeline");
TSTyped<std::string> RecordingFile() { return Needed<std::string>("file", "the recording"); }

template <class Function, class... T>
TSControl Row(const char* name, const char* verb, const char* help, const std::tuple<TSTyped<T>...>& parameters,
              Function function)
{
    return {name, verb, help, Untyped(parameters), Reading<TSOutcome, TCModel>(parameters, function)};
}

/// The host is asked to stop what a pipeline does.
template <class Reason>
TSControl StopRow(const char* name, const char* verb, const char* help, ECISignalType type)
{
    return Row(name, verb, help, Taking(PROFILE, HANDLE, Optional<Reason>("reason", Reason{}, "why")),
               [type](TCModel& model, EProfile profile, THandle handle, Reason reason) {
                   model.Parts().pvr.RequestStop(type, {profile, handle}, reason);
               });
}

TSOutcome ShowPage(TCModel& model, TSlot slot, const TSMmiPage& page)
{
    const TSSlot* const found = model.World().FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    model.Parts().mmi.Open(*found, page);
    return TSOutcome::Done();
}

TSOutcome ChangeEntitlement(TCModel& model, TSlot slot, unsigned char reply)
{
    const TSOutcome outcome = model.Parts().ca.SetEntitlement(slot, reply);
    if (outcome)
    {
        // Not every CAM has an installed profile that its rights belong to.
        model.Parts().profiles.Announce(slot, CAM_OP_STATUS_ENTITLEMENT_CHANGE);
    }
    return outcome;
}

TSOutcome SetFlag(TCModel& model, TSlot slot, EFlag flag, bool value)
{
    TSSlot* const found = model.World().Find(slot);
    if (!found || !found->HoldsCam())
    {
        return TSOutcome::Refused("no CAM in slot " + std::to_string(slot));
    }
    switch (flag)
    {
    case FLAG_KEEP_APP_RUNNING:
        found->cam.wantsAppRunning = value;
        break;
    case FLAG_RELEASES_TUNER:
        found->cam.releasesTuner = value;
        break;
    case FLAG_SPECIAL_CAM:
        found->cam.needsSpecialTreatment = value;
        break;
    case FLAG_TRANSCODING_AUTO:
        found->cam.transcodesAutomatically = value;
        break;
    default:
        return TSOutcome::Refused("there is no flag " + std::to_string(flag));
    }
    return TSOutcome::Done();
}

void Signal(TCModel& model, ECISignalType type, EProfile profile, THandle handle,
            const std::optional<TSSignalData>& data, std::optional<TSlot> slot,
            const std::optional<json::TSSignalCode>& code, const std::optional<json::TSSignalId>& id,
            const std::optional<json::TSSignalValue>& value, const json::TCJsonPath& path)
{
    TSSignalFields fields = data ? UnpackSignalData(*data) : TSSignalFields();
    const auto set = [&](auto& field, const auto& word, const char* name)
    {
        if (word)
        {
            field = static_cast<std::remove_reference_t<decltype(field)>>(
                word->For(type, fields.code, json::TCJsonPath(path, name)));
        }
    };
    fields.slot = slot.value_or(fields.slot);
    set(fields.code, code, "code"); // first: the others' words depend on it
    set(fields.id, id, "id");
    set(fields.value, value, "value");
    model.RaiseSignal({type, profile, handle, PackSignalData(fields)});
}

std::vector<TSControl> CamRows()
{
    return {
        Row("insert", "InsertCam", "put a CAM into a slot", Taking(SLOT, Needed<std::string>("cam", "name of a CAM")),
            [](TCModel& model, TSlot slot, const std::string& cam) { return model.InsertCam(slot, cam); }),
        Row("remove", "RemoveCam", "pull the CAM of a slot", Taking(SLOT),
            [](TCModel& model, TSlot slot) { return model.RemoveCam(slot); }),
        Row("reset", "ResetCam", "reset the CAM of a slot", Taking(SLOT),
            [](TCModel& model, TSlot slot) { return model.ResetCam(slot); }),
        Row("open-menu", "OpenMenu", "the CAM opens a menu by itself",
            Taking(SLOT, Optional<std::string>("menu", "", "one of the CAM's menus by name; empty: its main menu")),
            [](TCModel& model, TSlot slot, const std::string& menu)
            { return model.Parts().mmi.OpenUnsolicited(slot, menu); }),
        Row("show-page", "ShowPage", "the CAM shows a page",
            Taking(SLOT, Needed<TSMmiPage>("page", "as in the definition of a set")), ShowPage),
        Row("ask-pin", "AskPin", "the CAM asks for its PIN",
            Taking(SLOT, Optional<int>("rating", 18, "the programme's rating"), PROFILE, HANDLE),
            [](TCModel& model, TSlot slot, int rating, EProfile profile, THandle handle) {
                return model.Parts().pin.Ask(slot, {profile, handle}, rating);
            }),
        Row("card-in", "InsertCard", "put the smart card into the CAM", Taking(SLOT),
            [](TCModel& model, TSlot slot) { return model.Parts().ca.SetCard(slot, true); }),
        Row("card-out", "RemoveCard", "pull the smart card", Taking(SLOT),
            [](TCModel& model, TSlot slot) { return model.Parts().ca.SetCard(slot, false); }),
        Row("entitlement", "ChangeEntitlement", "change the CAM's rights",
            Taking(SLOT, Needed<unsigned char>("reply", "a CA_enable value")), ChangeEntitlement),
        Row("stream-emi", "ChangeEmi", "change the copy control of what a pipeline shows",
            Taking(Needed<unsigned char>("emi", "0 copying free ... 3 copying forbidden"), PROFILE, HANDLE),
            [](TCModel& model, unsigned char emi, EProfile profile, THandle handle) {
                model.Parts().ca.SetEmi({profile, handle}, emi);
            }),
        Row("start-upgrade", "StartUpgrade", "the CAM asks for its firmware upgrade",
            Taking(SLOT, Optional<ECamUpgradeMode>("mode", CAM_UPGRADE_MODE_DELAYED, "how urgent it is")),
            [](TCModel& model, TSlot slot, ECamUpgradeMode mode) { return model.Parts().upgrade.Request(slot, mode); }),
        Row("upgrade-progress", "SetUpgradeProgress", "set the progress of a running upgrade",
            Taking(SLOT, Needed<int>("percent", "0 to 100")),
            [](TCModel& model, TSlot slot, int percent) { return model.Parts().upgrade.SetProgress(slot, percent); }),
        Row("offer-profile", "OfferProfile", "the CAM offers an operator profile",
            Taking(SLOT, Optional<unsigned>("index", 0, "which of the CAM's operator profiles, counted from 0")),
            [](TCModel& model, TSlot slot, unsigned index) { return model.Parts().profiles.Offer(slot, index); }),
        Row("profile-status", "AnnounceProfileStatus", "the CAM says something about its installed profile",
            Taking(SLOT, Needed<ECamOperatorProfileStatus>("status", "what it says")),
            [](TCModel& model, TSlot slot, ECamOperatorProfileStatus status)
            { return model.Parts().profiles.Announce(slot, status); }),
        Row("set-flag", "SetFlag", "change what a CAM wants of its host",
            Taking(SLOT, Needed<EFlag>("flag", "what"), Optional<bool>("value", true, "whether it does")), SetFlag),
    };
}

std::vector<TSControl> ApplicationRows()
{
    return {
        Row("sas-send", "SendSas", "an application in the CAM sends over its SAS session",
            Taking(Needed<std::uint64_t>("application", "its identifier"), Needed<TBytes>("data", "what it sends")),
            [](TCModel& model, std::uint64_t application, const TBytes& data)
            { return model.Parts().sas.SendFromCam(application, data); }),
        Row("start-app", "StartApp", "the CAM wants an application started",
            Taking(SLOT, Optional<std::string>("domain", "HbbTVEngineProfile1", "application domain identifier"),
                   Optional<std::string>("object", "", "initial object"), PROFILE, HANDLE),
            [](TCModel& model, TSlot slot, const std::string& domain, const std::string& object, EProfile profile,
               THandle handle) {
                return model.Parts().appMmi.RequestStart(slot, domain, object, {profile, handle});
            }),
        Row("abort-app", "AbortApp", "the CAM wants its application ended",
            Taking(SLOT, Optional<TBytes>("data", {}, "abort request code")),
            [](TCModel& model, TSlot slot, const TBytes& data)
            { return model.Parts().appMmi.RequestAbort(slot, data); }),
        Row("offer-file-system", "OfferFileSystem", "the CAM offers an auxiliary file system",
            Taking(SLOT, Optional<unsigned>("index", 0, "which of the CAM's file systems, counted from 0")),
            [](TCModel& model, TSlot slot, unsigned index) { return model.Parts().fileSystems.Offer(slot, index); }),
        Row("drop-file-system", "DropFileSystem", "the CAM takes a file system back",
            Taking(SLOT, Optional<unsigned>("index", 0, "which of the CAM's file systems, counted from 0")),
            [](TCModel& model, TSlot slot, unsigned index) { return model.Parts().fileSystems.Drop(slot, index); }),
        Row("host-control", "SetHostControl", "the CAM takes the tuner, or gives it back",
            Taking(SLOT, Optional<bool>("active", true, "whether it takes it"), PROFILE, HANDLE),
            [](TCModel& model, TSlot slot, bool isActive, EProfile profile, THandle handle) {
                return model.Parts().host.SetHostControl(slot, isActive, {profile, handle});
            }),
        Row("block-tuning", "BlockTuning", "forbid tuning, or allow it again",
            Taking(Optional<bool>("blocked", true, "whether it is forbidden"), PROFILE, HANDLE),
            [](TCModel& model, bool isBlocked, EProfile profile, THandle handle) {
                model.Parts().host.BlockTuning(isBlocked, {profile, handle});
            }),
    };
}

std::vector<TSControl> ContentRows()
{
    return {
        Row("decryption-status", "SetDecryptionStatus", "change the status of a sample decryption",
            Taking(Needed<ESampleDecryptionDRMStatus>("status", "the new one"), PROFILE, HANDLE),
            [](TCModel& model, ESampleDecryptionDRMStatus status, EProfile profile, THandle handle) {
                return model.Parts().decryption.SetStatus({profile, handle}, status);
            }),
        Row("player-start", "StartPlayer", "the CAM starts a playback by itself",
            Taking(SLOT, Needed<std::string>("location", "what it plays")),
            [](TCModel& model, TSlot slot, const std::string& location)
            { return model.Parts().player.StartFromCam(slot, location); }),
        Row("player-error", "FailPlayer", "the playback fails",
            Taking(Optional<int>("error", PLAYER_ERROR_PLAYBACK, "a player error of CI Plus")),
            [](TCModel& model, int error) { return model.Parts().player.Fail(error); }),
        StopRow<EPvrRecordStopReasonByCI>("stop-recording", "StopRecording", "ask the host to stop a recording",
                                          SIGNAL_CI_RECORD_STOP_REQUEST),
        StopRow<EPvrTimeshiftStopReasonByCI>("stop-timeshift", "StopTimeshift", "ask the host to stop its time shift",
                                             SIGNAL_CI_TIMESHIFT_STOP_REQUEST),
        StopRow<EPvrPlaybackStopReasonByCI>("stop-playback", "StopPlayback", "ask the host to stop a playback",
                                            SIGNAL_CI_PLAYBACK_STOP_REQUEST),
        Row("add-recording", "AddRecording", "a recording comes into being",
            Taking(Needed<TSRecordingDefinition>("recording", "as in the definition of a set")),
            [](TCModel& model, TSRecordingDefinition recording) { model.Parts().pvr.Add(std::move(recording)); }),
        Row("play-recording", "PlayRecording", "the host begins to play a recording",
            Taking(RecordingFile(), PROFILE, HANDLE),
            [](TCModel& model, const std::string& file, EProfile profile, THandle handle) {
                return model.Parts().pvr.Play(file, {profile, handle});
            }),
        Row("end-playback", "EndPlayback", "the host ends the playback of its recording", Taking(),
            [](TCModel& model) { return model.Parts().pvr.EndPlay(); }),
        Row("expire", "ExpireContent", "the retention of a recording is over now", Taking(RecordingFile()),
            [](TCModel& model, const std::string& file) { return model.Parts().pvr.Expire(file); }),
        Row("block-recording", "BlockRecording", "parental control blocks a recording",
            Taking(RecordingFile(), Optional<bool>("blocked", true, "whether it is blocked")),
            [](TCModel& model, const std::string& file, bool isBlocked)
            { return model.Parts().pvr.SetBlocked(file, isBlocked); }),
        Row("signal", "RaiseSignal", "raise any signal",
            Taking(Needed<ECISignalType>("type", "which"), PROFILE, HANDLE,
                   Optional<std::optional<TSSignalData>>("data", {}, "its data, changed by the fields that follow"),
                   Optional<std::optional<TSlot>>("slot", {}, "a field of the data; 255: no slot"),
                   Optional<std::optional<json::TSSignalCode>>("code", {}, "a field of the data"),
                   Optional<std::optional<json::TSSignalId>>("id", {}, "a field of the data"),
                   Optional<std::optional<json::TSSignalValue>>("value", {}, "a field of the data")),
            Signal),
    };
}
} // namespace

std::span<const TSControl> Controls()
{
    static const std::vector<TSControl> controls = []
    {
        std::vector<TSControl> all;
        for (auto* const rows : {CamRows, ApplicationRows, ContentRows})
        {
            std::ranges::move(rows(), std::back_inserter(all));
        }
        return all;
    }();
    return controls;
}

const TSControl* FindControl(std::string_view name)
{
    const auto controls = Controls();
    const auto found =
        std::find_if(controls.begin(), controls.end(), [&](const TSControl& control) { return control.name == name; });
    return found != controls.end() ? &*found : nullptr;
}

TSOutcome RunControl(TCModel& model, std::string_view name, const json::TJson& arguments, const json::TCJsonPath& path)
{
    const TSControl* const control = FindControl(name);
    if (control == nullptr)
    {
        return TSOutcome::Refused(
            "there is no control '" + std::string(name) + "'" +
            DidYouMean(name, NamesOf(Controls(), [](const TSControl& known) { return std::string_view(known.name); })));
    }
    return control->run(model, arguments.is_null() ? json::TJson::object() : arguments, path);
}
} // namespace CIM::sim
